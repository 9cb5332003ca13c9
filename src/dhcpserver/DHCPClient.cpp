#include "dhcpserver/DHCPClient.h"

std::string HardwareAddressText(const HardwareAddress& hardwareAddress) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (const BYTE value : hardwareAddress) {
        if (!text.empty())
            text += '-';
        text += kDigits[value >> 4];
        text += kDigits[value & 0xF];
    }
    return text;
}
