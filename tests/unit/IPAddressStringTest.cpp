#include "store/IPAddressString.h"

#include <gtest/gtest.h>

namespace {

TEST(IPAddressString, OnlyFourDecimalOctetsAreAnAddress) {
    const struct {
        const char* why;
        const char* text;
        std::uint32_t expected;
    } rows[] = {
        {"first octet most significant", "10.1.0.0", 0x0A010000},
        {"smallest", "0.0.0.0", 0},
        {"largest, which no caller can tell from none", "255.255.255.255", 0xFFFFFFFF},
        {"above a byte", "10.1.0.256", CIPAddressString::kNoAddress},
        {"short form", "10.1", CIPAddressString::kNoAddress},
        {"another separator", "10.1.0,0", CIPAddressString::kNoAddress},
        {"four digits", "10.1.0.0255", CIPAddressString::kNoAddress},
        {"an octal reading would move the host to 10.1.0.8", "10.1.0.010",
         CIPAddressString::kNoAddress},
        {"two digits, too", "10.1.0.01", CIPAddressString::kNoAddress},
        {"blank behind", "10.1.0.0 ", CIPAddressString::kNoAddress},
        {"empty octet", "10..0.0", CIPAddressString::kNoAddress},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        const CIPAddressString address(row.text);
        EXPECT_EQ(address.Number(), row.expected);
        EXPECT_STREQ(address.Text(), "");
    }
}

TEST(IPAddressString, ANumberHasTextOnly) {
    const CIPAddressString address(0xC0A80001);
    EXPECT_STREQ(address.Text(), "192.168.0.1");
    EXPECT_EQ(address.Number(), 0u);
}

}  // namespace
