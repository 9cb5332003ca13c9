#include "store/IPAddressString.h"

#include <cstdio>

namespace {

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

}  // namespace

CIPAddressString::CIPAddressString(std::uint32_t hostOrderAddress) {
    std::snprintf(m_text, sizeof(m_text), "%u.%u.%u.%u", hostOrderAddress >> 24,
                  hostOrderAddress >> 16 & 0xFF, hostOrderAddress >> 8 & 0xFF,
                  hostOrderAddress & 0xFF);
}

CIPAddressString::CIPAddressString(const char* text) : m_number(kNoAddress) {
    m_text[0] = '\0';
    std::uint32_t number = 0;
    for (int octetIndex = 0; octetIndex < 4; ++octetIndex) {
        if (octetIndex > 0 && *text++ != '.')
            return;
        const char* const first = text;
        std::uint32_t octet = 0;
        for (; IsDigit(*text) && text - first < 3; ++text)
            octet = octet * 10 + static_cast<std::uint32_t>(*text - '0');
        const bool leadingZero = text - first > 1 && *first == '0';
        if (text == first || leadingZero || octet > 255)
            return;
        number = number << 8 | octet;
    }
    if (*text == '\0')
        m_number = number;
}
