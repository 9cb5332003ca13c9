#include "lab/journal/Text.h"

#include <windows.h>

#include <cstdio>
#include <cwchar>
#include <string>

namespace lab {
namespace {

constexpr std::string_view kLetters = "nrt\"\\";
constexpr std::string_view kMeanings = "\n\r\t\"\\";

std::string HexDigits(unsigned value, int width) {
    char text[9];
    std::snprintf(text, sizeof(text), "%0*X", width, value);
    return text;
}

/// Appends the escaped form of a character below 0x80.
void AppendAscii(std::string& out, unsigned character) {
    const std::size_t letter = kMeanings.find(static_cast<char>(character));
    if (letter != kMeanings.npos)
        (out += '\\') += kLetters[letter];
    else if (character < 0x20 || character == 0x7F)
        out += "\\x" + HexDigits(character, 2);
    else
        out += static_cast<char>(character);
}

/// UTF-16 units that are line ends in text files, or that XML does not allow.
bool IsUnsafe(unsigned unit) {
    return unit < 0xA0 || unit == 0x2028 || unit == 0x2029 || unit >= 0xFFFE;
}

bool IsSurrogate(unsigned unit, unsigned first) {
    return unit >= first && unit < first + 0x400;
}

std::optional<std::uint64_t> ParseDigits(std::wstring_view text, unsigned base, std::uint64_t max) {
    static constexpr std::wstring_view kDigits = L"0123456789abcdef";
    std::uint64_t number = 0;
    for (const wchar_t character : text) {
        const bool isCapital = character >= L'A' && character <= L'F';
        const std::size_t digit =
            kDigits.find(isCapital ? static_cast<wchar_t>(character | 0x20) : character);
        if (digit >= base || number > (max - digit) / base)
            return std::nullopt;
        number = number * base + digit;
    }
    return text.empty() ? std::nullopt : std::optional<std::uint64_t>(number);
}

}  // namespace

std::string ToUtf8(std::wstring_view text) {
    const int length = static_cast<int>(text.size());
    std::string out(text.size() * 3, '\0');
    out.resize(static_cast<std::size_t>(
        ::WideCharToMultiByte(CP_UTF8, 0, text.data(), length, out.data(),
                              static_cast<int>(out.size()), nullptr, nullptr)));
    return out;
}

std::wstring FromUtf8(std::string_view text) {
    const int length = static_cast<int>(text.size());
    std::wstring out(text.size(), L'\0');
    out.resize(static_cast<std::size_t>(
        ::MultiByteToWideChar(CP_UTF8, 0, text.data(), length, out.data(), length)));
    return out;
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
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const unsigned unit = text[i];
        if (unit < 0x80)
            AppendAscii(out, unit);
        else if (IsSurrogate(unit, 0xD800) && i + 1 < text.size() &&
                 IsSurrogate(text[i + 1], 0xDC00))
            out += ToUtf8(text.substr(i++, 2));
        else if (IsSurrogate(unit, 0xD800) || IsSurrogate(unit, 0xDC00) || IsUnsafe(unit))
            out += "\\u" + HexDigits(unit, 4);
        else
            out += ToUtf8(text.substr(i, 1));
    }
    return out;
}

std::optional<std::wstring> Unescape(std::wstring_view escaped) {
    std::wstring out;
    for (std::size_t i = 0; i < escaped.size(); ++i) {
        if (escaped[i] != L'\\') {
            out += escaped[i];
            continue;
        }
        const wchar_t form = ++i < escaped.size() ? escaped[i] : L'\0';
        const std::size_t letter = form < 0x80 ? kLetters.find(static_cast<char>(form)) : 9;
        const std::size_t digits = form == L'x' ? 2 : form == L'u' ? 4 : 0;
        if (letter < kLetters.size()) {
            out += static_cast<wchar_t>(kMeanings[letter]);
            continue;
        }
        const auto code = escaped.size() - i > digits
                              ? ParseDigits(escaped.substr(i + 1, digits), 16, 0xFFFF)
                              : std::nullopt;
        if (!code)
            return std::nullopt;
        out += static_cast<wchar_t>(*code);
        i += digits;
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

std::string Hex(std::uint32_t value) {
    return "0x" + HexDigits(value, 8);
}

std::string Dotted(std::uint32_t hostOrderAddress) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        text += std::to_string((hostOrderAddress >> shift) & 0xFF);
        text += shift ? "." : "";
    }
    return text;
}

std::optional<std::uint32_t> ParseAddress(std::wstring_view text) {
    std::uint32_t address = 0;
    for (int group = 0; group < 4; ++group) {
        const std::size_t dot = group < 3 ? text.find(L'.') : text.size();
        const auto number =
            dot == text.npos ? std::nullopt : ParseDigits(text.substr(0, dot), 10, 255);
        if (!number || (dot > 1 && text[0] == L'0'))
            return std::nullopt;
        address = address << 8 | static_cast<std::uint32_t>(*number);
        text.remove_prefix(group < 3 ? dot + 1 : dot);
    }
    return address;
}

std::optional<std::uint64_t> ParseNumber(std::wstring_view text, std::uint64_t max) {
    const bool isHex = text.substr(0, 2) == L"0x" || text.substr(0, 2) == L"0X";
    return isHex ? ParseDigits(text.substr(2), 16, max) : ParseDigits(text, 10, max);
}

std::string HexBytes(std::string_view bytes, std::string_view separator) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (const char byte : bytes) {
        text += text.empty() ? std::string_view() : separator;
        text += kDigits[static_cast<unsigned char>(byte) >> 4];
        text += kDigits[byte & 15];
    }
    return text;
}

std::optional<std::string> ParseHexBytes(std::wstring_view digits) {
    std::string bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        const auto byte = ParseDigits(digits.substr(i, 2), 16, 255);
        if (!byte || i + 1 == digits.size())
            return std::nullopt;
        bytes += static_cast<char>(*byte);
    }
    return bytes;
}

}  // namespace lab
