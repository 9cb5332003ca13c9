// dhcpsapi.dll as its callers see it: memory, faults, misuse, and the state on disk.
#include <gtest/gtest.h>
#include <process.h>

#include "LabLibrary.h"
#include "lab/dhcpserver/Api.h"
#include "lab/journal/Text.h"

namespace lab_test {
namespace {

namespace api = lab::api;

constexpr DWORD kScope = 0x0A010000;
constexpr wchar_t kServer[] = L"10.0.0.2";

using CreateSubnet = DWORD WINAPI(const WCHAR*, DWORD, const api::SubnetInfo*);
using GetSubnetInfo = DWORD WINAPI(const WCHAR*, DWORD, api::SubnetInfo**);
using AddElement = DWORD WINAPI(const WCHAR*, DWORD, const api::Element*);
using RemoveElement = DWORD WINAPI(const WCHAR*, DWORD, const api::Element*, DWORD);
using SetOption = DWORD WINAPI(const WCHAR*, DWORD, const api::OptionScope*,
                               const api::OptionData*);
using ListClients = DWORD WINAPI(const WCHAR*, DWORD, DWORD*, DWORD, api::ClientArray**, DWORD*,
                                 DWORD*);
using Free = void WINAPI(void*);

TEST(LabDhcpServer, EveryBlockIsFreedByItself) {
    const Folder folder;
    WriteAll(folder / L"s", R"({"scopes": {"10.1.0.0": {"mask": "255.255.0.0", "name": "",
            "netBiosName": "HOST"}, "10.2.0.0": {"mask": "255.255.0.0"}},
        "clients": {"10.1.0.5": {"mac": "0a-0b", "name": "PC", "ownerName": "GW"}}})");
    Library dll(L"dhcpsapi.dll", folder);
    auto* const getInfo = dll.Get<GetSubnetInfo>("DhcpGetSubnetInfo");
    api::SubnetInfo* info = nullptr;
    EXPECT_EQ(getInfo(kServer, kScope + 5, &info), 20005u) << "an address inside is no id";
    ASSERT_EQ(getInfo(kServer, kScope, &info), 0u);
    EXPECT_EQ(info->primaryHost.address, 0x0100007Fu) << "network order";
    EXPECT_EQ(info->primaryHost.netBiosName, std::wstring(L"HOST"));
    EXPECT_FALSE(info->primaryHost.hostName);
    api::ClientArray* array = nullptr;
    DWORD resume = 0, read = 0, total = 0;
    ASSERT_EQ(dll.Get<ListClients>("DhcpEnumSubnetClientsV4")(kServer, kScope, &resume, ~0u, &array,
                                                              &read, &total),
              0u);
    api::Client* const client = array->clients[0];
    EXPECT_EQ(client->hardware.bytes, 2u) << "raw, not the unique id";
    BYTE* const hardware = client->hardware.data;
    WCHAR* const texts[] = {info->name, client->name, client->owner.netBiosName};
    auto* const free = dll.Get<Free>("DhcpRpcFreeMemory");
    for (void* const block : std::initializer_list<void*>{info->primaryHost.netBiosName,
                                                          array->clients, array, client, info})
        free(block);
    EXPECT_EQ(hardware[1], 0x0B) << "lives on, as all that a block points to";
    EXPECT_EQ(texts[0] + std::wstring(texts[1]) + texts[2], L"PCGW");
    for (void* const block : std::initializer_list<void*>{texts[0], hardware, nullptr, info, &info})
        free(block);
    dll.Unload();
    const std::string unknown = "DhcpRpcFreeMemory: no block of this server, or freed before\n";
    EXPECT_EQ(folder.Misuses(), unknown + unknown + "blocks not freed: 2\n");
}

TEST(LabDhcpServer, FaultsComeBeforeTheStateAndALostAnswerBehindIt) {
    const Folder folder;
    WriteAll(folder / L"f",
             "DhcpCreateSubnet #2 = 5\nDhcpCreateSubnet #3 = done 1722\n"
             "DhcpEnumSubnetClientsV4 * = done 1722\n");
    WriteAll(folder / L"s", "{\"scopes\": 5}");
    Library dll(L"dhcpsapi.dll", folder, {{L"RESERVE_LEASED", L"20014"}});
    auto* const create = dll.Get<CreateSubnet>("DhcpCreateSubnet");
    api::SubnetInfo info{};
    info.address = kScope;
    info.mask = 0xFFFF0000;
    EXPECT_EQ(create(kServer, kScope, &info), 20013u) << "the state is broken";
    EXPECT_EQ(create(kServer, kScope, &info), 5u);
    WriteAll(folder / L"s", "{}");
    EXPECT_EQ(create(kServer, kScope, &info), 1722u);
    EXPECT_EQ(create(kServer, kScope, &info), 20052u) << "it was done";
    EXPECT_EQ(create(L"10.0.0..2", kScope, &info), 1722u) << "not fault, but no server";
    auto* array = reinterpret_cast<api::ClientArray*>(1);
    DWORD numbers[] = {7, 8, 9};
    EXPECT_EQ(dll.Get<ListClients>("DhcpEnumSubnetClientsV4")(kServer, kScope, &numbers[0], 1,
                                                              &array, &numbers[1], &numbers[2]),
              1722u);
    EXPECT_EQ(reinterpret_cast<std::size_t>(array) + numbers[0] + numbers[1] + numbers[2], 25u);
    dll.Unload();
    EXPECT_EQ(folder.Misuses(),
              "setting DHCPLAB_RESERVE_LEASED not understood: 20014\n"
              "server state " +
                  lab::Escape(folder / L"s") + ": scopes: not an object\n");
}

TEST(LabDhcpServer, WhatTheProgramNeverSendsIsRefusedAsMisuse) {
    const Folder folder;
    WriteAll(folder / L"s", R"({"scopes": {"10.1.0.0": {"mask": "255.255.0.0"}}})");
    Library dll(L"dhcpsapi.dll", folder);
    auto* const add = dll.Get<AddElement>("DhcpAddSubnetElementV4");
    auto* const remove = dll.Get<RemoveElement>("DhcpRemoveSubnetElementV4");
    auto* const set = dll.Get<SetOption>("DhcpSetOptionValue");
    BYTE mac[] = {1};
    api::Binary client{1, mac};
    api::Reservation reservation{kScope + 5, &client, 1};
    api::Element element{2, {}};
    element.reservation = &reservation;
    EXPECT_EQ(add(kServer, kScope, &element), 87u);
    EXPECT_EQ(remove(kServer, kScope, &element, 1), 87u);
    element.type = 6;
    EXPECT_EQ(add(kServer, kScope, &element), 87u);
    element.type = 3;
    EXPECT_EQ(remove(nullptr, kScope, &element, 0), 1722u);
    EXPECT_EQ(remove(kServer, kScope, &element, 0), 87u);
    api::OptionScope scope{1, {kScope}};
    api::OptionElement number{2, {7}};
    const api::OptionData data{1, &number};
    EXPECT_EQ(set(kServer, 51, &scope, &data), 87u);
    scope.type = 2;
    EXPECT_EQ(set(kServer, 51, &scope, &data), 0u);
    EXPECT_EQ(set(kServer, 3, &scope, &data), 87u);
    dll.Unload();
    EXPECT_EQ(folder.Misuses(), R"(DhcpAddSubnetElementV4: allowed client types other than both
DhcpRemoveSubnetElementV4: force flag 1
DhcpAddSubnetElementV4: element type 6
DhcpRemoveSubnetElementV4: null server
DhcpRemoveSubnetElementV4: null element, or one that is no reservation
DhcpSetOptionValue: null argument, or options that are not a scope's
DhcpSetOptionValue: not one value of the option's kind
)");
}

TEST(LabDhcpServer, NetshsFaultsAreCountedFromProcessToProcess) {
    const Folder folder;
    WriteAll(folder / L"f", "netsh #2 = 5\n");
    const Library settings(L"dhcpsapi.dll", folder);
    const std::wstring netsh = std::wstring(LAB_DIRECTORY) + L"/netsh.exe";
    const auto run = [&netsh](const wchar_t* id) {
        return ::_wspawnl(_P_WAIT, netsh.c_str(), L"netsh", L"dhcp", L"server", L"10.0.0.2", L"add",
                          L"scope", id, L"255.0.0.0", L"a", nullptr);
    };
    EXPECT_EQ(run(L"9.0.0.0"), 0);
    EXPECT_EQ(run(L"8.0.0.0"), 1) << "the fault";
    EXPECT_EQ(run(L"8.0.0.0"), 0);
    EXPECT_EQ(run(L"8.0.0.0"), 1) << "is there already";
}

}  // namespace
}  // namespace lab_test
