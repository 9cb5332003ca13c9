// Addresses, numbers and bytes as texts that a person reads and types.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace lab {

/// The host-order number of four decimal groups of at most 255; nothing shorter or longer.
std::optional<std::uint32_t> ParseAddress(std::wstring_view text);

/// Decimal digits, or hexadecimal ones after "0x"; none above `max`.
std::optional<std::uint64_t> ParseNumber(std::wstring_view text, std::uint64_t max);

/// Lower-case pairs of hexadecimal digits: "00-1a-2b" with the separator '-', "001a2b" with none.
std::string HexBytes(std::string_view bytes, std::string_view separator);

/// The bytes of pairs of hexadecimal digits without anything between them.
std::optional<std::string> ParseHexBytes(std::wstring_view digits);

std::string ToUtf8(std::wstring_view text);
std::wstring FromUtf8(std::string_view text);

}  // namespace lab
