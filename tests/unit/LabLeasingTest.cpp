// The order in which the lab's DHCP leasing chooses an address.
#include <gtest/gtest.h>

#include "lab/dhcpserver/StateJson.h"
#include "lab/hosts/Leasing.h"

namespace lab {
namespace {

TEST(LabLeasing, HostsGetTheirOwnAddressElseTheRequestedOneElseTheFirstFreeOne) {
    ServerState state;
    ReadSnapshot(R"({"scopes": {"10.1.0.0": {"mask": "255.255.255.0",
        "range": {"first": "10.1.0.1", "last": "10.1.0.9"}, "exclusions": {"10.1.0.1": "10.1.0.2"},
        "options": {"51": [{"dword": 3}]},
        "reservations": {"10.1.0.3": {"mac": "03"}, "10.1.0.9": {"mac": "09"}}}},
      "clients": {"10.1.0.4": {"mac": "04", "expires": 101}, "10.1.0.5": {"mac": "05", "expires": 99},
        "10.1.0.9": {"mac": "99", "expires": 101}, "10.1.0.2": {"mac": "02", "expires": 101}}})",
                 state);
    Leasing leasing(state, 100);
    const struct {
        const char* hardware;
        DWORD named;  // last byte of the requested address
        DWORD got;
    } rows[] = {
        {"\x03", 7, 3},  // its reservation
        {"\x04", 7, 4},  // its lease
        {"\x05", 7, 5},  // its expired lease
        {"\x06", 7, 7},  // the address that it requests
        {"\x08", 4, 6},  // 4 is leased to another host, 1 and 2 are excluded, 3 is reserved
        {"\x09", 3, 8},  // other hosts have its reservation and the requested address
        {"\x02", 2, 0},  // its lease is excluded, and no address is free
    };
    constexpr DWORD kNetwork = 0x0A010000;
    EXPECT_TRUE(leasing.IsFree(kNetwork | 5));
    for (const auto& row : rows)
        EXPECT_EQ(leasing.Ask(kNetwork, kNetwork | row.named, row.hardware, L"PC"),
                  row.got ? kNetwork | row.got : 0)
            << row.got;
    // The clean-up of dhcpmigrate (-z) looks for type 1 and compares the names.
    const Client& lease = *leasing.State().FindClient(kNetwork | 7);
    EXPECT_EQ(lease.type, 1);
    EXPECT_EQ(lease.name, L"PC.example");
    EXPECT_EQ(lease.expires, 30'000'100ULL);
}

}  // namespace
}  // namespace lab
