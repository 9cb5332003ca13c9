#pragma once

#include <array>
#include <cstdint>
#include <string>

/// A MAC address: six bytes in transmission order, initially all zero.
class CMACAddress {
public:
    /// Returns six pairs of lower-case hexadecimal digits joined by "-".
    std::string ToString() const;
    /// Reads six groups of one or two hexadecimal digits; stops at the first malformed one. A "-"
    /// must follow each of the first five. After a sixth group of one digit the text must end or go
    /// on with white space; after one of two digits anything may follow. Bytes not reached keep
    /// their value.
    void FromString(const std::string& text);
    /// True if the address is in the gateway's vendor block, 00-04-70.
    bool IsPrefixValid() const;
    void SetPrefix(std::uint8_t b0, std::uint8_t b1, std::uint8_t b2);
    /// Sets this prefix and a random tail.
    void GenerateRandom(std::uint8_t b0, std::uint8_t b1, std::uint8_t b2);

    bool operator<(const CMACAddress& other) const { return m_bytes < other.m_bytes; }

private:
    std::array<std::uint8_t, 6> m_bytes = {};
};
