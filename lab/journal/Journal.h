// The journal that all stand-ins share: what the program asked of them, one line a call, in order.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace lab {

/// False when DHCPLAB_JOURNAL is unset: callers may then skip building a line.
bool JournalIsOn();

/// Appends one line to the file named by DHCPLAB_JOURNAL, with a single write at its end, so that
/// several DLLs of a process, and processes one after another, may use one file. `line` is UTF-8
/// without a line end; whatever comes from the program must have gone through Escape or Quoted.
void Journal(std::string_view line);

/// Appends "MISUSE <what>". Such a line fails any rehearsal, whatever else it expects.
void JournalMisuse(std::string_view what);

/// Makes a text fit one line of UTF-8: \n \r \t \" \\, other control characters as \xNN. Narrow
/// bytes above 7F stay recognisable as the bytes they were, \xNN. UTF-16 units that no text file
/// carries safely become \uNNNN: a surrogate without its partner, further line ends and control
/// characters, FFFE and FFFF.
std::string Escape(std::string_view bytes);
std::string Escape(std::wstring_view text);

/// The text that Escape was given; nothing when a backslash begins none of its forms.
std::optional<std::wstring> Unescape(std::wstring_view escaped);

/// The escaped text in quotation marks; null (without marks) for a null pointer.
std::string Quoted(const char* text);
std::string Quoted(const wchar_t* text);
std::string Quoted(const wchar_t* text, std::size_t length);

/// "10.1.0.2" of 0x0A010002: host order, first octet most significant.
std::string Dotted(std::uint32_t hostOrderAddress);

/// "0x80004005", the form of an HRESULT in the journal.
std::string Hex(std::uint32_t value);

/// Appends a whole text, with one write, to the end of a file that is made when absent.
class AppendFile {
public:
    /// Off, writing nothing, when the path is empty.
    explicit AppendFile(const std::wstring& path);
    ~AppendFile();
    AppendFile(const AppendFile&) = delete;
    AppendFile& operator=(const AppendFile&) = delete;

    bool IsOn() const { return m_file != nullptr; }
    void AppendLine(std::string_view line) const;

private:
    void* m_file;
};

}  // namespace lab
