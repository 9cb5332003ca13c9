// Conversion of texts to and from the forms in the stand-ins' files.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace lab {

std::string ToUtf8(std::wstring_view text);
std::wstring FromUtf8(std::string_view text);

/// Escapes a text to one line of UTF-8 (docs/lab.md). \uNNNN is for lone surrogates, rare line
/// ends, control characters, FFFE and FFFF.
std::string Escape(std::string_view bytes);
std::string Escape(std::wstring_view text);

/// Reverses Escape. Returns nullopt for an unknown escape.
std::optional<std::wstring> Unescape(std::wstring_view escaped);

/// Returns the escaped text in quotation marks, or null (without marks) for a null pointer.
std::string Quoted(const char* text);
std::string Quoted(const wchar_t* text);
std::string Quoted(const wchar_t* text, std::size_t length);

/// "0x80004005", the form of an HRESULT in the journal.
std::string Hex(std::uint32_t value);

/// "10.1.0.2" for 0x0A010002: host order, first octet most significant.
std::string Dotted(std::uint32_t hostOrderAddress);

/// Parses four decimal numbers up to 255 into a host-order address. Rejects leading zeros, because
/// some programs read 010 as eight.
std::optional<std::uint32_t> ParseAddress(std::wstring_view text);

/// Parses decimal digits, or hexadecimal ones after "0x". Returns nullopt for more than `max`.
std::optional<std::uint64_t> ParseNumber(std::wstring_view text, std::uint64_t max);

/// Returns lower-case pairs of hexadecimal digits: "00-1a-2b" with the separator "-".
std::string HexBytes(std::string_view bytes, std::string_view separator);

/// Parses pairs of hexadecimal digits without separators.
std::optional<std::string> ParseHexBytes(std::wstring_view digits);

}  // namespace lab
