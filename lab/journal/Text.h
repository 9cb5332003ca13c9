// Texts in the forms that the stand-ins write and read.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace lab {

std::string ToUtf8(std::wstring_view text);
std::wstring FromUtf8(std::string_view text);

/// Makes a text fit one line of UTF-8, as docs/lab.md describes. UTF-16 units that no text file
/// carries are halves of surrogate pairs, further line ends and control characters, FFFE and FFFF.
std::string Escape(std::string_view bytes);
std::string Escape(std::wstring_view text);

/// The text that Escape was given; nothing when a backslash begins none of its forms.
std::optional<std::wstring> Unescape(std::wstring_view escaped);

/// The escaped text in quotation marks; null (without marks) for a null pointer.
std::string Quoted(const char* text);
std::string Quoted(const wchar_t* text);
std::string Quoted(const wchar_t* text, std::size_t length);

/// "0x80004005", the form of an HRESULT in the journal.
std::string Hex(std::uint32_t value);

/// "10.1.0.2" of 0x0A010002: host order, first octet most significant.
std::string Dotted(std::uint32_t hostOrderAddress);

/// The host-order number of four decimal groups of at most 255. A group begins with 0 only when it
/// is 0: some readers take 010 for eight.
std::optional<std::uint32_t> ParseAddress(std::wstring_view text);

/// Decimal digits, or hexadecimal ones after "0x"; none above `max`.
std::optional<std::uint64_t> ParseNumber(std::wstring_view text, std::uint64_t max);

/// Lower-case pairs of hexadecimal digits: "00-1a-2b" with the separator "-".
std::string HexBytes(std::string_view bytes, std::string_view separator);

/// The bytes of pairs of hexadecimal digits without anything between them.
std::optional<std::string> ParseHexBytes(std::wstring_view digits);

}  // namespace lab
