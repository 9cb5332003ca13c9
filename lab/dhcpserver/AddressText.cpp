#include "lab/dhcpserver/AddressText.h"

#include <windows.h>

#include <cwctype>

namespace lab {
namespace {

std::optional<unsigned> DigitValue(wchar_t digit, unsigned base) {
    unsigned value = base;
    if (digit >= L'0' && digit <= L'9')
        value = static_cast<unsigned>(digit - L'0');
    else if (digit < 0x80 && std::iswxdigit(digit))
        value = static_cast<unsigned>(std::towlower(digit) - L'a') + 10;
    return value < base ? std::optional<unsigned>(value) : std::nullopt;
}

std::optional<std::uint64_t> ParseDigits(std::wstring_view text, unsigned base, std::uint64_t max) {
    if (text.empty())
        return std::nullopt;
    std::uint64_t number = 0;
    for (const wchar_t character : text) {
        const auto digit = DigitValue(character, base);
        if (!digit || number > (max - *digit) / base)
            return std::nullopt;
        number = number * base + *digit;
    }
    return number;
}

}  // namespace

std::optional<std::uint32_t> ParseAddress(std::wstring_view text) {
    std::uint32_t address = 0;
    for (int group = 0; group < 4; ++group) {
        const std::size_t dot = group < 3 ? text.find(L'.') : text.size();
        if (dot == text.npos)
            return std::nullopt;
        const auto number = ParseDigits(text.substr(0, dot), 10, 255);
        if (!number)
            return std::nullopt;
        address = address << 8 | static_cast<std::uint32_t>(*number);
        text.remove_prefix(group < 3 ? dot + 1 : dot);
    }
    return address;
}

std::optional<std::uint64_t> ParseNumber(std::wstring_view text, std::uint64_t max) {
    const bool isHex = text.size() > 2 && text[0] == L'0' && (text[1] | 0x20) == L'x';
    return isHex ? ParseDigits(text.substr(2), 16, max) : ParseDigits(text, 10, max);
}

std::string HexBytes(std::string_view bytes, std::string_view separator) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (const char character : bytes) {
        const auto byte = static_cast<unsigned char>(character);
        text += text.empty() ? std::string_view() : separator;
        text += kDigits[byte >> 4];
        text += kDigits[byte & 15];
    }
    return text;
}

std::optional<std::string> ParseHexBytes(std::wstring_view digits) {
    if (digits.size() % 2 != 0)
        return std::nullopt;
    std::string bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        const auto byte = ParseDigits(digits.substr(i, 2), 16, 255);
        if (!byte)
            return std::nullopt;
        bytes += static_cast<char>(*byte);
    }
    return bytes;
}

std::string ToUtf8(std::wstring_view text) {
    const int length = static_cast<int>(text.size());
    const int needed =
        ::WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    std::string out(static_cast<std::size_t>(needed), '\0');
    ::WideCharToMultiByte(CP_UTF8, 0, text.data(), length, out.data(), needed, nullptr, nullptr);
    return out;
}

std::wstring FromUtf8(std::string_view text) {
    const int length = static_cast<int>(text.size());
    const int needed = ::MultiByteToWideChar(CP_UTF8, 0, text.data(), length, nullptr, 0);
    std::wstring out(static_cast<std::size_t>(needed), L'\0');
    ::MultiByteToWideChar(CP_UTF8, 0, text.data(), length, out.data(), needed);
    return out;
}

}  // namespace lab
