#include "dhcpserver/DHCPManager.h"

#include <gtest/gtest.h>

#include "RecordingServer.h"

namespace {

TEST(DHCPManager, ConvertMACAppendsOneByteForEachToken) {
    const struct {
        const char* why;
        std::string mac;
        HardwareAddress expected;
    } rows[] = {
        {"a MAC", "00-1A-2b-3C-4D-5E", {0x00, 0x1a, 0x2b, 0x3c, 0x4d, 0x5e}},
        {"adjacent separators are not merged", "00--11-", {0x00, 0x00, 0x11, 0x00}},
        {"the low byte of a longer token", "0A0B-1", {0x0b, 0x01}},
        {"another separator ends the number", "AA:BB:CC:DD:EE:FF", {0xaa}},
        {"no number", "zz-1", {0x00, 0x01}},
        {"blanks and a sign before the digits", " 1-\t+2", {0x01, 0x02}},
        {"overflow", "80000001-001A2B3C4D5E-1", {0xff, 0xff, 0x01}},
        {"no limit of length", std::string(40000, '-'), HardwareAddress(40001, 0x00)},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        HardwareAddress bytes = {0xee};
        CDHCPManager("10.0.0.2").ConvertMAC(row.mac, bytes);
        HardwareAddress expected = {0xee};
        expected.insert(expected.end(), row.expected.begin(), row.expected.end());
        EXPECT_EQ(bytes, expected);
    }
}

TEST(DHCPManager, AListIsReadWhileItsHandleMoves) {
    constexpr DWORD more = ERROR_MORE_DATA;
    std::vector<Page> moving;
    for (DWORD round = 1; round <= 40; ++round)
        moving.push_back({more, round, 0});
    moving.push_back({ERROR_SUCCESS, 0, 1});
    const struct {
        const char* why;
        std::vector<Page> pages;
        DWORD error;
        std::size_t rounds, clients;
    } rows[] = {
        {"pages, each with a client", {{more, 5, 1}, {ERROR_SUCCESS, 0, 1}}, 0, 2, 2},
        {"empty pages before the last", moving, 0, 41, 1},
        {"the same page again and again", {{more, 5, 1}}, more, 17, 17},
        {"back at the beginning", {{more, 5, 1}, {more, 0, 1}}, more, 2, 2},
        {"a failure", {{more, 5, 1}, {5, 6, 1}}, 5, 2, 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        Server().pages = row.pages;
        Server().rounds = 0;
        ClientList clients;
        EXPECT_EQ(CDHCPManager("10.0.0.2").GetDynamicClientInfo("10.1.0.0", clients), row.error);
        EXPECT_EQ(Server().rounds, row.rounds);
        EXPECT_EQ(clients.size(), row.clients);
    }
}

}  // namespace
