// The journal that all stand-ins share: the calls of the program in order, one per line.
#pragma once

#include <string>
#include <string_view>

#include "lab/journal/Environment.h"
#include "lab/journal/Text.h"

namespace lab {

/// Appends one line to DHCPLAB_JOURNAL in a single write, so that DLLs and processes can share the
/// file. line: UTF-8 without a line end; texts of the program escaped by Escape or Quoted.
void Journal(std::string_view line);

/// Appends "MISUSE <what>". Such a line fails every test, whatever the test expects.
void JournalMisuse(std::string_view what);

/// Appends lines to a file, each in one write. Creates a missing file.
class AppendFile {
public:
    /// With an empty path nothing is written.
    explicit AppendFile(const std::wstring& path);

    void AppendLine(std::string_view line) const;

private:
    Handle m_file;
};

}  // namespace lab
