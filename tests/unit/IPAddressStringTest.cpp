#include "store/IPAddressString.h"

#include <gtest/gtest.h>

#include "dhcpserver/DHCPManager.h"

namespace {

TEST(IPAddressString, OnlyFourDecimalOctetsAreAnAddress) {
    EXPECT_EQ(CIPAddressString("10.1.0.0").Number(), 0x0A010000u);
    EXPECT_STREQ(CIPAddressString("10.1.0.0").Text(), "");
    EXPECT_EQ(CIPAddressString("255.255.255.255").Number(), 0xFFFFFFFF);
    const struct {
        const char *why, *text;
    } rows[] = {
        {"above a byte", "10.1.0.256"},
        {"short form", "10.1"},
        {"five octets", "10.1.2.3.4"},
        {"another separator", "10.1.0,0"},
        {"four digits", "10.1.0.0255"},
        {"an octal reading would move the host to 10.1.0.8", "10.1.0.010"},
        {"blank behind", "10.1.0.0 "},
        {"empty octet", "10..0.0"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(CIPAddressString(row.text).Number(), CIPAddressString::kNoAddress) << row.why;
}

TEST(IPAddressString, ANumberHasTextOnly) {
    const CIPAddressString address(0xC0A80001);
    EXPECT_STREQ(address.Text(), "192.168.0.1");
    EXPECT_EQ(address.Number(), 0u);
    EXPECT_STREQ(CIPAddressString(std::uint32_t{0}).Text(), "0.0.0.0");
}

TEST(AddressRange, IsComputedFromTheTextsAsTheyAreAndWraps) {
    const auto range = [](const char* networkId, const char* mask) {
        const auto text = [](DWORD number) { return std::string(CIPAddressString(number).Text()); };
        return text(CDHCPManager::GetNetworkAddress(networkId, mask)) + " " +
               text(CDHCPManager::GetFirstAddress(networkId)) + " " +
               text(CDHCPManager::GetLastAddress(networkId, mask));
    };
    EXPECT_EQ(range("10.1.2.3", "255.255.255.0"), "10.1.2.0 10.1.2.4 10.1.2.254") << "host bits";
    EXPECT_EQ(range("x", "255.0.0.0"), "255.0.0.0 0.0.0.0 255.255.255.254") << "no address";
    EXPECT_EQ(range("0.0.0.0", "255.255.255.255"), "0.0.0.0 0.0.0.1 255.255.255.255") << "wraps";
}

}  // namespace
