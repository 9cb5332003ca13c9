// The journal that all stand-ins share: what the program asked of them, one line a call, in order.
#pragma once

#include <string>
#include <string_view>

#include "lab/journal/Environment.h"
#include "lab/journal/Text.h"

namespace lab {

/// Appends one line to the file named by DHCPLAB_JOURNAL, with a single write at its end, so that
/// several DLLs of a process, and processes one after another, may use one file. `line` is UTF-8
/// without a line end; whatever comes from the program must have gone through Escape or Quoted.
void Journal(std::string_view line);

/// Appends "MISUSE <what>". Such a line fails any rehearsal, whatever else it expects.
void JournalMisuse(std::string_view what);

/// Appends a whole line, with one write, to the end of a file that is made when absent.
class AppendFile {
public:
    /// Off, writing nothing, when the path is empty.
    explicit AppendFile(const std::wstring& path);

    void AppendLine(std::string_view line) const;

private:
    Handle m_file;
};

}  // namespace lab
