#include "lab/journal/Journal.h"

#include <windows.h>

#include <cstdio>
#include <cwchar>

#include "lab/journal/Environment.h"

namespace lab {
namespace {

const AppendFile& JournalFile() {
    static const AppendFile file(EnvironmentText(L"DHCPLAB_JOURNAL"));
    return file;
}

/// Hexadecimal digits in capitals, at least `width` of them.
std::string HexDigits(unsigned value, int width) {
    char text[9];
    std::snprintf(text, sizeof(text), "%0*X", width, value);
    return text;
}

/// Appends what replaces a character below 0x80.
void AppendAscii(std::string& out, unsigned character) {
    switch (character) {
        case '\n':
            out += "\\n";
            break;
        case '\r':
            out += "\\r";
            break;
        case '\t':
            out += "\\t";
            break;
        case '"':
            out += "\\\"";
            break;
        case '\\':
            out += "\\\\";
            break;
        default:
            out += character < 0x20 || character == 0x7F
                       ? "\\x" + HexDigits(character, 2)
                       : std::string(1, static_cast<char>(character));
    }
}

void AppendUtf8(std::string& out, unsigned point) {
    const auto tail = [&out, point](unsigned shift) {
        out += static_cast<char>(0x80 | ((point >> shift) & 0x3F));
    };
    if (point < 0x800) {
        out += static_cast<char>(0xC0 | (point >> 6));
    } else if (point < 0x10000) {
        out += static_cast<char>(0xE0 | (point >> 12));
        tail(6);
    } else {
        out += static_cast<char>(0xF0 | (point >> 18));
        tail(12);
        tail(6);
    }
    tail(0);
}

/// Units that readers of text files take for a line end, or that XML does not allow.
bool IsUnsafe(unsigned unit) {
    return unit < 0xA0 || unit == 0x2028 || unit == 0x2029 || unit >= 0xFFFE;
}

}  // namespace

AppendFile::AppendFile(const std::wstring& path) : m_file(nullptr) {
    if (path.empty())
        return;
    // Append access alone makes the system place every write at the end, whoever wrote before.
    const HANDLE file = ::CreateFileW(path.c_str(), FILE_APPEND_DATA,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                      nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file != INVALID_HANDLE_VALUE)
        m_file = file;
}

AppendFile::~AppendFile() {
    if (m_file)
        ::CloseHandle(m_file);
}

void AppendFile::AppendLine(std::string_view line) const {
    if (m_file) {
        std::string bytes(line);
        bytes += '\n';
        DWORD written = 0;
        ::WriteFile(m_file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
    }
}

bool JournalIsOn() {
    return JournalFile().IsOn();
}

void Journal(std::string_view line) {
    JournalFile().AppendLine(line);
}

void JournalMisuse(std::string_view what) {
    JournalFile().AppendLine("MISUSE " + std::string(what));
}

std::string Escape(std::string_view bytes) {
    std::string out;
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        if (value < 0x80)
            AppendAscii(out, value);
        else
            out += "\\x" + HexDigits(value, 2);
    }
    return out;
}

std::string Escape(std::wstring_view text) {
    const auto isSurrogate = [](unsigned unit, unsigned first) {
        return unit >= first && unit < first + 0x400;
    };
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const unsigned unit = text[i];
        if (unit < 0x80)
            AppendAscii(out, unit);
        else if (isSurrogate(unit, 0xD800) && i + 1 < text.size() &&
                 isSurrogate(text[i + 1], 0xDC00))
            AppendUtf8(out, 0x10000 + ((unit - 0xD800) << 10) + (text[++i] - 0xDC00u));
        else if (isSurrogate(unit, 0xD800) || isSurrogate(unit, 0xDC00) || IsUnsafe(unit))
            out += "\\u" + HexDigits(unit, 4);
        else
            AppendUtf8(out, unit);
    }
    return out;
}

std::optional<std::wstring> Unescape(std::wstring_view escaped) {
    static constexpr std::wstring_view kLetters = L"nrt\"\\";
    static constexpr std::wstring_view kMeanings = L"\n\r\t\"\\";
    static constexpr std::wstring_view kHexDigits = L"0123456789ABCDEF";
    std::wstring out;
    for (std::size_t i = 0; i < escaped.size(); ++i) {
        if (escaped[i] != L'\\') {
            out += escaped[i];
            continue;
        }
        const wchar_t form = ++i < escaped.size() ? escaped[i] : L'\0';
        const std::size_t letter = kLetters.find(form);
        if (letter != std::wstring_view::npos) {
            out += kMeanings[letter];
            continue;
        }
        std::size_t digitsLeft = form == L'x' ? 2 : form == L'u' ? 4 : 0;
        if (digitsLeft == 0)
            return std::nullopt;
        std::size_t unit = 0;
        for (; digitsLeft > 0; --digitsLeft) {
            const std::size_t digit =
                ++i < escaped.size() ? kHexDigits.find(escaped[i]) : std::wstring_view::npos;
            if (digit == std::wstring_view::npos)
                return std::nullopt;
            unit = unit * 16 + digit;
        }
        out += static_cast<wchar_t>(unit);
    }
    return out;
}

std::string Quoted(const char* text) {
    return text ? '"' + Escape(std::string_view(text)) + '"' : "null";
}

std::string Quoted(const wchar_t* text) {
    return Quoted(text, text ? std::wcslen(text) : 0);
}

std::string Quoted(const wchar_t* text, std::size_t length) {
    return text ? '"' + Escape(std::wstring_view(text, length)) + '"' : "null";
}

std::string Dotted(std::uint32_t hostOrderAddress) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        text += std::to_string((hostOrderAddress >> shift) & 0xFF);
        text += shift ? "." : "";
    }
    return text;
}

std::string Hex(std::uint32_t value) {
    return "0x" + HexDigits(value, 8);
}

}  // namespace lab
