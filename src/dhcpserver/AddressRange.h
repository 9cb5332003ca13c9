// Address arithmetic of a scope. All numbers are in host order; nothing is checked, sums wrap.
#pragma once

#include <cstdint>

inline constexpr std::uint32_t NetworkAddress(std::uint32_t address, std::uint32_t mask) {
    return address & mask;
}

/// The address after the network id as it is written, host bits included.
inline constexpr std::uint32_t FirstHostAddress(std::uint32_t networkId) {
    return networkId + 1;
}

/// The address before the broadcast address.
inline constexpr std::uint32_t LastHostAddress(std::uint32_t networkId, std::uint32_t mask) {
    return (networkId | ~mask) - 1;
}
