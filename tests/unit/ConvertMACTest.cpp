#include <gtest/gtest.h>

#include "dhcpserver/DHCPManager.h"

namespace {

TEST(DHCPManager, ConvertMACAppendsOneByteForEachToken) {
    const struct {
        const char* why;
        std::string mac;
        HardwareAddress expected;
    } rows[] = {
        {"a MAC", "00-1A-2b-3C-4D-5E", {0x00, 0x1a, 0x2b, 0x3c, 0x4d, 0x5e}},
        {"empty", "", {0x00}},
        {"adjacent separators are not merged", "00--11-", {0x00, 0x00, 0x11, 0x00}},
        {"the low byte of a longer token", "0A0B-1", {0x0b, 0x01}},
        {"another separator ends the number", "AA:BB:CC:DD:EE:FF", {0xaa}},
        {"no number", "zz-1", {0x00, 0x01}},
        {"blanks before the digits", " 1-\t2", {0x01, 0x02}},
        {"a sign belongs to its token", "+5-1", {0x05, 0x01}},
        {"the largest number that fits", "7fffff01", {0x01}},
        {"overflow", "80000001-001A2B3C4D5E-1", {0xff, 0xff, 0x01}},
        {"no limit of length", std::string(40000, '-'), HardwareAddress(40001, 0x00)},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        HardwareAddress bytes = {0xee};
        CDHCPManager("10.0.0.2").ConvertMAC(row.mac, bytes);
        ASSERT_FALSE(bytes.empty());
        EXPECT_EQ(bytes.front(), 0xee);
        bytes.erase(bytes.begin());
        EXPECT_EQ(bytes, row.expected);
    }
}

}  // namespace
