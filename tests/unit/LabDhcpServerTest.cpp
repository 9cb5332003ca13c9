// dhcpsapi.dll as its callers see it.
#include <gtest/gtest.h>

#include "LabLibrary.h"
#include "lab/dhcpserver/Api.h"

namespace lab_test {
namespace {

namespace api = lab::api;

constexpr DWORD kScope = 0x0A010000;
const wchar_t* const kServer = L"10.0.0.2";

TEST(LabDhcpServer, WhatTheProgramNeverSendsIsRefusedAsMisuse) {
    const Folder folder;
    WriteAll(folder / L"s", R"({"scopes": {"10.1.0.0": {"mask": "255.255.0.0"}}})");
    Library dll(L"dhcpsapi.dll", folder);
    constexpr char kAdd[] = "DhcpAddSubnetElementV4";
    constexpr char kRemove[] = "DhcpRemoveSubnetElementV4";
    constexpr char kSet[] = "DhcpSetOptionValue";
    api::Reservation reservation{kScope + 5, nullptr, 1};
    api::Element element{2, {}};
    element.reservation = &reservation;
    EXPECT_EQ(dll.Call(kAdd, kServer, kScope, &element), 87u);
    EXPECT_EQ(dll.Call(kRemove, kServer, kScope, &element, 1), 87u);
    element.type = 3;
    EXPECT_EQ(dll.Call(kRemove, nullptr, kScope, &element, 0), 1722u);
    EXPECT_EQ(dll.Call(kRemove, kServer, kScope, &element, 0), 87u);
    api::OptionScope scope{1, {kScope}};
    api::OptionElement number{2, {7}};
    const api::OptionData data{1, &number};
    EXPECT_EQ(dll.Call(kSet, kServer, 51, &scope, &data), 87u);
    scope.type = 2;
    EXPECT_EQ(dll.Call(kSet, kServer, 3, &scope, &data), 87u);
    dll.Unload();
    EXPECT_EQ(folder.Misuses(), R"(DhcpAddSubnetElementV4: allowed client types other than both
DhcpRemoveSubnetElementV4: force flag 1
DhcpRemoveSubnetElementV4: null server
DhcpRemoveSubnetElementV4: null element, or one that is no reservation
DhcpSetOptionValue: null argument, or options that are not a scope's
DhcpSetOptionValue: not one value of the option's kind
)");
}

}  // namespace
}  // namespace lab_test
