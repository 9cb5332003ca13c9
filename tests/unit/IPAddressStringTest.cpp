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
        {"largest; equals kNoAddress", "255.255.255.255", 0xFFFFFFFF},
        {"octet above 255", "10.1.0.256", CIPAddressString::kNoAddress},
        {"short form", "10.1", CIPAddressString::kNoAddress},
        {"another separator", "10.1.0,0", CIPAddressString::kNoAddress},
        {"four digits", "10.1.0.0255", CIPAddressString::kNoAddress},
        {"leading zero: 10.1.0.8 if read as octal", "10.1.0.010", CIPAddressString::kNoAddress},
        {"leading zero, two digits", "10.1.0.01", CIPAddressString::kNoAddress},
        {"trailing blank", "10.1.0.0 ", CIPAddressString::kNoAddress},
        {"empty octet", "10..0.0", CIPAddressString::kNoAddress},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        const CIPAddressString address(row.text);
        EXPECT_EQ(address.Number(), row.expected);
        EXPECT_STREQ(address.Text(), "");
    }
}

TEST(IPAddressString, AnAddressMadeFromANumberHasOnlyAText) {
    const CIPAddressString address(0xC0A80001);
    EXPECT_STREQ(address.Text(), "192.168.0.1");
    EXPECT_EQ(address.Number(), 0u);
}

}  // namespace
