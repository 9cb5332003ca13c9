// The DHCP server as a program meets it: the DLL's calls, its memory, its journal, its state on
// disk, whoever else works on it and however a process ends.
#include <gtest/gtest.h>
#include <process.h>

#include "LabLibrary.h"
#include "dhcpserver/DhcpApi.h"
#include "lab/dhcpserver/StateFile.h"
#include "lab/journal/Journal.h"

namespace lab_test {
namespace {

using lab::StateFile;

constexpr DWORD kScope = 0x0A010000;
constexpr wchar_t kServer[] = L"10.0.0.2";

TEST(LabDhcpServer, EveryBlockIsFreedByItself) {
    const Folder folder;
    WriteAll(folder / L"s", R"({"scopes": {"10.1.0.0": {"mask": "255.255.0.0", "name": ""}},
        "clients": {"10.1.0.5": {"mac": "0a-0b", "name": "PC", "ownerName": "GW"}}})");
    Library dll(L"dhcpsapi.dll", folder);
    auto* const getInfo = dll.Get<DhcpGetSubnetInfoFn>("DhcpGetSubnetInfo");
    DHCP_SUBNET_INFO* info = nullptr;
    EXPECT_EQ(getInfo(kServer, kScope + 5, &info), 20005u) << "an address inside is no id";
    ASSERT_EQ(getInfo(kServer, kScope, &info), 0u);
    EXPECT_EQ(info->PrimaryHost.IpAddress, 0x0100007Fu) << "network order";
    EXPECT_FALSE(info->PrimaryHost.HostName || info->PrimaryHost.NetBiosName);
    DHCP_CLIENT_INFO_ARRAY_V4* array = nullptr;
    DWORD resume = 0, read = 0, total = 0;
    ASSERT_EQ(dll.Get<DhcpEnumSubnetClientsV4Fn>("DhcpEnumSubnetClientsV4")(
                  kServer, kScope, &resume, ~0u, &array, &read, &total),
              0u);
    DHCP_CLIENT_INFO_V4* const client = array->Clients[0];
    EXPECT_EQ(client->ClientHardwareAddress.DataLength, 2u) << "raw, not the unique id";
    BYTE* const hardware = client->ClientHardwareAddress.Data;
    WCHAR* const texts[] = {info->SubnetName, client->ClientName, client->OwnerHost.NetBiosName};
    auto* const free = dll.Get<DhcpRpcFreeMemoryFn>("DhcpRpcFreeMemory");
    for (void* const block : std::initializer_list<void*>{array->Clients, array, client, info})
        free(block);
    EXPECT_EQ(hardware[1], 0x0B) << "lives on, as all that a block points to";
    EXPECT_EQ(texts[0] + std::wstring(texts[1]) + texts[2], L"PCGW");
    for (void* const block : std::initializer_list<void*>{texts[0], hardware, nullptr, info, &info})
        free(block);
    dll.Unload();
    const std::string unknown = "DhcpRpcFreeMemory: no block of this server, or freed before\n";
    EXPECT_EQ(folder.Misuses(), unknown + unknown + "blocks not freed: 2\n");
}

TEST(LabDhcpServer, FaultsComeBeforeTheStateAndMisuseIsJournalled) {
    const Folder folder;
    WriteAll(folder / L"f", "DhcpCreateSubnet #2 = 5\nDhcpEnumSubnetClientsV4 * = 1722\n");
    WriteAll(folder / L"s", "{\"scopes\": 5}");
    Library dll(L"dhcpsapi.dll", folder, {{L"RESERVE_LEASED", L"20014"}});
    auto* const create = dll.Get<DhcpCreateSubnetFn>("DhcpCreateSubnet");
    EXPECT_EQ(create(kServer, kScope, nullptr), 20013u);
    EXPECT_EQ(create(kServer, kScope, nullptr), 5u);
    auto* array = reinterpret_cast<DHCP_CLIENT_INFO_ARRAY_V4*>(1);
    DWORD numbers[] = {7, 8, 9};
    EXPECT_EQ(dll.Get<DhcpEnumSubnetClientsV4Fn>("DhcpEnumSubnetClientsV4")(
                  kServer, kScope, &numbers[0], 1, &array, &numbers[1], &numbers[2]),
              1722u);
    EXPECT_EQ(reinterpret_cast<std::size_t>(array) + numbers[0] + numbers[1] + numbers[2], 25u);
    WriteAll(folder / L"s", "{}");
    DHCP_IP_RESERVATION_V4 reservation{kScope + 5, nullptr, 4};
    DHCP_SUBNET_ELEMENT_DATA_V4 element{DhcpReservedIps, {}};
    element.Element.ReservedIp = &reservation;
    EXPECT_EQ(dll.Get<DhcpRemoveSubnetElementV4Fn>("DhcpRemoveSubnetElementV4")(
                  nullptr, kScope, &element, static_cast<DHCP_FORCE_FLAG>(3)),
              20005u);
    dll.Unload();
    EXPECT_EQ(folder.Misuses(), R"(setting DHCPLAB_RESERVE_LEASED not understood: 20014
server state )" + lab::Escape(folder / L"s") +
                                    R"(: scopes: not an object
DhcpRemoveSubnetElementV4: allowed client types other than 1, 2, 3
DhcpRemoveSubnetElementV4: unknown force flag
DhcpRemoveSubnetElementV4: null server
)");
}

/// The ids of the scopes, with the number of the exclusions in them.
std::string Content(StateFile& file) {
    std::string text;
    file.Run([&text](lab::ServerState& state) -> DWORD {
        for (const auto& [id, scope] : state.Scopes())
            text += lab::Dotted(id) + ":" + std::to_string(scope.exclusions.size()) + " ";
        return 0;
    });
    return text;
}

void AddScope(StateFile& file, DWORD id, bool fails = false) {
    file.Run([id, fails](lab::ServerState& state) -> DWORD {
        state.PutScope(id << 24, {0xFF000000, {}, {}, 0, {}, {}, {}, {}});
        return fails ? throw std::runtime_error("half-way") : 0;
    });
}

TEST(LabDhcpState, SeveralUsersSeeEachOtherAndTheLastOneFolds) {
    const Folder folder;
    StateFile first(folder / L"s");
    AddScope(first, 1);
    StateFile second(folder / L"s");
    EXPECT_EQ(Content(second), "1.0.0.0:0 ");
    AddScope(second, 2);
    second.Close();
    EXPECT_EQ(ReadAll(folder / L"s"), "") << "another one still works with the log";
    EXPECT_THROW(AddScope(first, 3, true), std::runtime_error);
    EXPECT_EQ(Content(first), "1.0.0.0:0 2.0.0.0:0 ") << "what was not stored did not happen";
    first.Close();
    EXPECT_EQ(ReadAll(folder / L"s.log"), "");
    EXPECT_EQ(Content(first), "1.0.0.0:0 2.0.0.0:0 ") << "opened once more";
}

TEST(LabDhcpState, AKilledProcessLosesNothingItWasAnswered) {
    const std::string scope = R"({"scopes":{"1.0.0.0":{"mask":"255.0.0.0"}}})";
    const std::string more = R"({"scopes":{"1.0.0.0":{"exclusions":{"1.0.0.1":"1.0.0.1"}}}})";
    const std::string less = R"({"scopes":{"1.0.0.0":{"exclusions":{"1.0.0.1":null}}}})";
    const struct {
        std::string snapshot, log, expected;
    } rows[] = {
        {"{}", scope + "\n" + more + "\n", "1.0.0.0:1 "},
        {"{}", scope + "\n" + more + std::string(200, ' '), "1.0.0.0:0 "},  // within a line
        {scope, scope + "\n" + more + "\n" + less + "\n", "1.0.0.0:0 "},    // behind the snapshot
    };
    for (const auto& row : rows) {
        const Folder folder;
        WriteAll(folder / L"s", row.snapshot);
        WriteAll(folder / L"s.log", row.log);
        StateFile file(folder / L"s");
        EXPECT_EQ(Content(file), row.expected);
        AddScope(file, 2);
        const std::string log = ReadAll(folder / L"s.log");  // as the next killed one leaves it
        file.Close();
        EXPECT_NE(ReadAll(folder / L"s").find("\"2.0.0.0\""), std::string::npos);
        WriteAll(folder / L"s", row.snapshot);
        WriteAll(folder / L"s.log", log);
        EXPECT_EQ(Content(file), row.expected + "2.0.0.0:0 ");
    }
}

TEST(LabNetsh, TheExitCodeTellsOfAFailure) {
    const std::wstring netsh = std::wstring(LAB_DIRECTORY) + L"/netsh.exe";
    EXPECT_EQ(::_wspawnl(_P_WAIT, netsh.c_str(), L"netsh", L"help", nullptr), 1);
}

}  // namespace
}  // namespace lab_test
