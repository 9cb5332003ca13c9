#pragma once

#include <cstdint>
#include <string>

/// An IPv4 address as text or as a 32-bit number in host order (first octet most significant).
///
/// Each construction fills only the side its callers read: from a number the text, while Number()
/// stays 0; from a text the number, while Text() stays empty.
class CIPAddressString {
public:
    /// Numbers a text that is no address; the same value as the address 255.255.255.255.
    static constexpr std::uint32_t kNoAddress = 0xFFFFFFFF;

    explicit CIPAddressString(std::uint32_t hostOrderAddress);
    /// Decision 0001. Takes exactly four decimal octets without leading zeros. The short and octal
    /// forms that inet_addr would read as well are no addresses here: read that way they would
    /// silently move a host to another address.
    explicit CIPAddressString(const char* text);
    explicit CIPAddressString(const std::string& text) : CIPAddressString(text.c_str()) {}

    const char* Text() const { return m_text; }
    std::uint32_t Number() const { return m_number; }

private:
    char m_text[256];  // zero-terminated
    std::uint32_t m_number = 0;
};
