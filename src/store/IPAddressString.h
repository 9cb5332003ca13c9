#pragma once

#include <cstdint>
#include <string>

/// Converts an IPv4 address between text and a 32-bit number in host order (first octet most
/// significant). Sets only the other form: a number gets a Text(), but Number() is 0; a text gets a
/// Number(), but Text() is empty.
class CIPAddressString {
public:
    /// The number of a text that is not an address; the same as 255.255.255.255.
    static constexpr std::uint32_t kNoAddress = 0xFFFFFFFF;

    explicit CIPAddressString(std::uint32_t hostOrderAddress);
    /// Accepts exactly four decimal octets without leading zeros (decision 0001). The short and
    /// octal forms that inet_addr accepts would silently give a host another address.
    explicit CIPAddressString(const char* text);

    const char* Text() const { return m_text; }
    std::uint32_t Number() const { return m_number; }

private:
    char m_text[256];  // zero-terminated
    std::uint32_t m_number = 0;
};

inline std::uint32_t AddressNumber(const std::string& address) {
    return CIPAddressString(address.c_str()).Number();
}

inline std::string AddressText(std::uint32_t hostOrderAddress) {
    return CIPAddressString(hostOrderAddress).Text();
}

// Address arithmetic on numbers in host order. Arguments are not checked; sums wrap.

inline constexpr std::uint32_t NetworkAddress(std::uint32_t address, std::uint32_t mask) {
    return address & mask;
}

/// The network id plus 1. Host bits in the network id are kept.
inline constexpr std::uint32_t FirstHostAddress(std::uint32_t networkId) {
    return networkId + 1;
}

/// The address before the broadcast address.
inline constexpr std::uint32_t LastHostAddress(std::uint32_t networkId, std::uint32_t mask) {
    return (networkId | ~mask) - 1;
}
