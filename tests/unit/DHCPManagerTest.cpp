#include "dhcpserver/DHCPManager.h"

#include <gtest/gtest.h>

#include "RecordingServer.h"

namespace {

TEST(DHCPManager, AListIsReadWhileTheResumeHandleAdvances) {
    std::vector<Page> moving;
    for (DWORD round = 1; round <= 40; ++round)
        moving.push_back({ERROR_MORE_DATA, round, 0});
    moving.push_back({ERROR_SUCCESS, 0, 1});
    const struct {
        const char* why;
        std::vector<Page> pages;
        DWORD error;
        std::size_t rounds;
        std::size_t clients;
    } rows[] = {
        {"two pages with a client each", {{ERROR_MORE_DATA, 5, 1}, {ERROR_SUCCESS, 0, 1}}, 0, 2, 2},
        {"empty pages before the last", moving, 0, 41, 1},
        {"the resume handle never changes", {{ERROR_MORE_DATA, 5, 1}}, ERROR_MORE_DATA, 17, 17},
        {"a resume handle of 0 would start over",
         {{ERROR_MORE_DATA, 5, 1}, {ERROR_MORE_DATA, 0, 1}},
         ERROR_MORE_DATA,
         2,
         2},
        {"ERROR_NO_MORE_ITEMS is a failure", {{ERROR_MORE_DATA, 5, 1}, {259, 6, 1}}, 259, 2, 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        Server().pages = row.pages;
        Server().rounds = 0;
        ClientList clients;
        EXPECT_EQ(CDHCPManager("10.0.0.2").GetDynamicClientInfo("10.1.0.0", clients), row.error);
        EXPECT_EQ(Server().rounds, row.rounds);
        EXPECT_EQ(clients.size(), row.clients);
        EXPECT_EQ(Server().blocks, 0);
    }
}

}  // namespace
