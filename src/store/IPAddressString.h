#pragma once

#include <cstdint>
#include <string>

/// An IPv4 address as text or as a 32-bit number in host order (first octet most significant).
///
/// Each construction fills only the side that its callers read: from a number the text, while
/// Number() stays 0; from a text the number, while Text() stays empty.
class CIPAddressString {
public:
    /// The number of a text that is not an address; the same as that of 255.255.255.255.
    static constexpr std::uint32_t kNoAddress = 0xFFFFFFFF;

    explicit CIPAddressString(std::uint32_t hostOrderAddress);
    /// Takes exactly four decimal octets without leading zeros (decision 0001). Not the short and
    /// octal forms that inet_addr reads as well: they would silently move a host to another
    /// address.
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

// Address arithmetic of a scope, on numbers in host order. Nothing is checked, sums wrap.

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
