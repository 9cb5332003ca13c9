#pragma once

#include <array>
#include <cstdint>
#include <string>

/// A MAC address: six bytes, the first one on the wire first; all zero to begin with.
class CMACAddress {
public:
    /// Six two-digit lower-case hexadecimal groups joined by "-".
    std::string ToString() const;
    /// Reads groups of one or two hexadecimal digits and stops at the first that is none. A group
    /// counts only with the "-" behind it; the sixth with the end or white space when it has one
    /// digit, with anything when it has two. Bytes that are not reached keep their value.
    void FromString(const std::string& text);
    /// Whether the address lies in the gateway's vendor block, 00-04-70.
    bool IsPrefixValid() const;
    void SetPrefix(std::uint8_t b0, std::uint8_t b1, std::uint8_t b2);
    /// The given prefix with a random tail; the thread's sequence is seeded before its first draw.
    void GenerateRandom(std::uint8_t b0, std::uint8_t b1, std::uint8_t b2);

    bool operator<(const CMACAddress& other) const { return m_bytes < other.m_bytes; }

private:
    std::array<std::uint8_t, 6> m_bytes = {};
};
