#include "clients/MACAddress.h"

#include <windows.h>

#include <cctype>
#include <cstdlib>
#include <mutex>
#include <set>

#include "driver/output/Format.h"

namespace {

constexpr int kNoDigit = -1;

int HexDigit(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    const int lower = std::tolower(static_cast<unsigned char>(c));
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : kNoDigit;
}

bool IsEndOrSpace(char c) {
    return c == '\0' || std::isspace(static_cast<unsigned char>(c)) != 0;
}

/// Seeds std::rand. Each thread has its own sequence, which otherwise starts with the same numbers.
void SeedThreadOnce() {
    static std::mutex guard;
    static std::set<DWORD> seededThreads;
    const DWORD thread = ::GetCurrentThreadId();
    const std::lock_guard<std::mutex> lock(guard);
    if (seededThreads.insert(thread).second)
        std::srand(static_cast<unsigned>(thread + ::GetTickCount64()));
}

std::uint32_t Draw() {
    return static_cast<std::uint32_t>(std::rand());
}

}  // namespace

std::string CMACAddress::ToString() const {
    return Format("%02x%c%02x%c%02x%c%02x%c%02x%c%02x", m_bytes[0], '-', m_bytes[1], '-',
                  m_bytes[2], '-', m_bytes[3], '-', m_bytes[4], '-', m_bytes[5]);
}

void CMACAddress::FromString(const std::string& text) {
    const char* at = text.c_str();
    for (std::size_t k = 0; k < m_bytes.size(); ++k) {
        const bool last = k + 1 == m_bytes.size();
        const auto endsGroup = [last](char c) { return last ? IsEndOrSpace(c) : c == '-'; };
        int value = HexDigit(*at);
        if (value == kNoDigit)
            return;
        ++at;
        if (!endsGroup(*at)) {
            const int second = HexDigit(*at);
            if (second == kNoDigit)
                return;
            ++at;
            value = value * 16 + second;
            if (!last && !endsGroup(*at))
                return;
        }
        m_bytes[k] = static_cast<std::uint8_t>(value);
        if (!last)
            ++at;
    }
}

bool CMACAddress::IsPrefixValid() const {
    return m_bytes[0] == 0x00 && m_bytes[1] == 0x04 && m_bytes[2] == 0x70;
}

void CMACAddress::SetPrefix(std::uint8_t b0, std::uint8_t b1, std::uint8_t b2) {
    m_bytes[0] = b0;
    m_bytes[1] = b1;
    m_bytes[2] = b2;
}

void CMACAddress::GenerateRandom(std::uint8_t b0, std::uint8_t b1, std::uint8_t b2) {
    SeedThreadOnce();
    const std::uint32_t r1 = Draw();
    const std::uint32_t r2 = Draw();
    const std::uint32_t r3 = Draw();
    // Kept: the upper bits of r2 overlap the byte of r1, but the tails only have to differ.
    const std::uint32_t tail = r1 << 16 | r2 << 8 | (r3 & 0xFF);
    SetPrefix(b0, b1, b2);
    m_bytes[3] = static_cast<std::uint8_t>(tail >> 16);
    m_bytes[4] = static_cast<std::uint8_t>(tail >> 8);
    m_bytes[5] = static_cast<std::uint8_t>(tail);
}
