// The DHCP server as a program meets it: the DLL's calls, its memory, its journal, its state on
// disk, whoever else works on it and however a process ends.
#include <gtest/gtest.h>

#include "LabLibrary.h"
#include "dhcpserver/DhcpApi.h"
#include "lab/dhcpserver/AddressText.h"
#include "lab/dhcpserver/StateFile.h"
#include "lab/dhcpserver/StateJson.h"
#include "lab/journal/Journal.h"
#include "lab/netsh/NetshCommand.h"

namespace lab_test {
namespace {

using lab::ServerState;
using lab::StateFile;

constexpr DWORD kScope = 0x0A010000;
constexpr DWORD kMask = 0xFFFF0000;
constexpr wchar_t kServer[] = L"10.0.0.2";

/// The DLL with its settings, in a folder with its journal "j" and its state "s".
struct Dll {
    explicit Dll(const Folder& folder, std::map<std::wstring, std::wstring> settings = {})
        : library(L"dhcpsapi.dll", WithFiles(folder, std::move(settings))) {}

    static std::map<std::wstring, std::wstring> WithFiles(
        const Folder& folder, std::map<std::wstring, std::wstring> settings) {
        settings[L"DHCPLAB_JOURNAL"] = folder / L"j";
        settings[L"DHCPLAB_SERVER_STATE"] = folder / L"s";
        return settings;
    }
    template <class Function, class... Arguments>
    auto Call(const char* name, const Arguments&... arguments) {
        return library.Get<Function>(name)(arguments...);
    }
    DWORD CreateScope(wchar_t* name, DWORD id = kScope) {
        DHCP_SUBNET_INFO info{};
        info.SubnetAddress = id;
        info.SubnetMask = kMask;
        info.SubnetName = name;
        return Call<DhcpCreateSubnetFn>("DhcpCreateSubnet", kServer, id, &info);
    }
    DWORD CreateClient(BYTE number, const wchar_t* server = kServer) {
        BYTE mac[] = {0, 1, 2, 3, 0, number};
        DHCP_CLIENT_INFO_V4 info{};
        info.ClientIpAddress = kScope + number;
        info.SubnetMask = kMask;
        info.ClientHardwareAddress = {sizeof(mac), mac};
        info.ClientName = const_cast<wchar_t*>(L"PC");
        info.ClientLeaseExpires = {1, 2};
        info.bClientType = CLIENT_TYPE_BOTH;
        return Call<DhcpCreateClientInfoV4Fn>("DhcpCreateClientInfoV4", server, &info);
    }
    DWORD SetOption(DWORD option, DHCP_OPTION_DATA_TYPE type, DWORD value) {
        DHCP_OPTION_SCOPE_INFO where{};
        where.ScopeType = DhcpSubnetOptions;
        where.ScopeInfo.SubnetScopeInfo = kScope;
        DHCP_OPTION_DATA_ELEMENT element{};
        element.OptionType = type;
        element.Element.DWordOption = value;
        const DHCP_OPTION_DATA data{1, &element};
        return Call<DhcpSetOptionValueFn>("DhcpSetOptionValue", kServer, option, &where, &data);
    }
    void Free(void* block) { Call<DhcpRpcFreeMemoryFn>("DhcpRpcFreeMemory", block); }

    Library library;
};

TEST(LabDhcpServer, JournalsEveryCallAndKeepsItsState) {
    const Folder folder;
    Dll dll(folder);
    wchar_t name[] = L"B\u00FCro \"1\"\n";
    DHCP_IP_RANGE range{kScope + 1, kScope + 9};
    DHCP_SUBNET_ELEMENT_DATA_V4 element{};
    element.Element.IpRange = &range;
    const auto add = [&dll, &element] {
        return dll.Call<DhcpAddSubnetElementV4Fn>("DhcpAddSubnetElementV4", kServer, kScope,
                                                  &element);
    };
    EXPECT_EQ(dll.CreateScope(name), 0u);
    EXPECT_EQ(add(), 0u);
    element.ElementType = DhcpExcludedIpRanges;
    EXPECT_EQ(add(), 0u);
    EXPECT_EQ(dll.SetOption(3, DhcpIpAddressOption, kScope + 1), 0u);
    EXPECT_EQ(dll.SetOption(51, DhcpByteOption, 7), 0u);
    EXPECT_EQ(dll.CreateClient(5), 0u);
    EXPECT_EQ(dll.CreateClient(5, nullptr), 20013u);
    BYTE mac[] = {0, 1, 2, 3, 0, 5};
    DHCP_CLIENT_UID client{sizeof(mac), mac};
    DHCP_IP_RESERVATION_V4 reservation{kScope + 5, &client, 4};
    element.ElementType = DhcpReservedIps;
    element.Element.ReservedIp = &reservation;
    EXPECT_EQ(add(), 0u);
    reservation.bAllowedClientTypes = CLIENT_TYPE_BOTH;
    mac[0] = 9;
    EXPECT_EQ(dll.Call<DhcpRemoveSubnetElementV4Fn>("DhcpRemoveSubnetElementV4", kServer, kScope,
                                                    &element, DhcpFullForce),
              20019u);
    EXPECT_EQ(dll.Call<DhcpGetSubnetInfoFn>("DhcpGetSubnetInfo", kServer, kScope, nullptr), 87u);
    dll.library.Unload();
    EXPECT_EQ(
        ReadAll(folder / L"j"),
        R"(DhcpCreateSubnet server=10.0.0.2 subnet=10.1.0.0 mask=255.255.0.0 name="Büro \"1\"\n" comment=null state=0 -> 0
DhcpAddSubnetElementV4 server=10.0.0.2 subnet=10.1.0.0 type=0 first=10.1.0.1 last=10.1.0.9 -> 0
DhcpAddSubnetElementV4 server=10.0.0.2 subnet=10.1.0.0 type=3 first=10.1.0.1 last=10.1.0.9 -> 0
DhcpSetOptionValue server=10.0.0.2 option=3 scopeType=2 subnet=10.1.0.0 value=ip:10.1.0.1 -> 0
WARNING DhcpSetOptionValue: option 51 (lease time) takes a single DWORD
DhcpSetOptionValue server=10.0.0.2 option=51 scopeType=2 subnet=10.1.0.0 value=byte:7 -> 0
DhcpCreateClientInfoV4 server=10.0.0.2 address=10.1.0.5 mask=255.255.0.0 mac=00-01-02-03-00-05 name="PC" comment=null expires=8589934593 type=3 -> 0
MISUSE DhcpCreateClientInfoV4: null server
DhcpCreateClientInfoV4 server=null address=10.1.0.5 mask=255.255.0.0 mac=00-01-02-03-00-05 name="PC" comment=null expires=8589934593 type=3 -> 20013
MISUSE DhcpAddSubnetElementV4: allowed client types other than 1, 2, 3
DhcpAddSubnetElementV4 server=10.0.0.2 subnet=10.1.0.0 type=2 address=10.1.0.5 mac=00-01-02-03-00-05 types=4 -> 0
DhcpRemoveSubnetElementV4 server=10.0.0.2 subnet=10.1.0.0 type=2 address=10.1.0.5 mac=09-01-02-03-00-05 types=3 force=0 -> 20019
MISUSE DhcpGetSubnetInfo: null output
DhcpGetSubnetInfo server=10.0.0.2 subnet=10.1.0.0 -> 87
)");
    EXPECT_EQ(ReadAll(folder / L"s"), R"({
  "server": {"optionDefinitions":"1-76, 81","defaults":{},"options":{}},
  "scopes": {
    "10.1.0.0": {
      "mask": "255.255.0.0",
      "name": "Büro \"1\"\n",
      "comment": null,
      "state": 0,
      "range": {"first":"10.1.0.1","last":"10.1.0.9"},
      "exclusions": {"10.1.0.1":"10.1.0.9"},
      "reservations": {"10.1.0.5":{"mac":"00-01-02-03-00-05","types":4}},
      "options": {"3":[{"ip":"10.1.0.1"}],"51":[{"byte":7}]}
    }
  },
  "clients": {
    "10.1.0.5": {"mac":"00-01-02-03-00-05","uniqueId":"0000010a01000102030005","name":"PC","comment":null,"expires":8589934593,"type":100,"ownerName":"DHCPLAB","ownerAddress":"10.0.0.2"}
  }
}
)");
    EXPECT_EQ(::GetFileAttributesW((folder / L"s.log").c_str()), INVALID_FILE_ATTRIBUTES);
}

TEST(LabDhcpServer, EveryBlockIsFreedByItself) {
    const Folder folder;
    WriteAll(folder / L"s",
             R"({"scopes": {"10.1.0.0": {"mask": "255.255.0.0", "name": "", "comment": null}}})");
    Dll dll(folder);
    DHCP_SUBNET_INFO* info = nullptr;
    ASSERT_EQ(dll.Call<DhcpGetSubnetInfoFn>("DhcpGetSubnetInfo", kServer, kScope, &info), 0u);
    EXPECT_EQ(info->PrimaryHost.IpAddress, 0x0100007Fu) << "network order";
    EXPECT_EQ(info->PrimaryHost.HostName, nullptr);
    EXPECT_EQ(info->PrimaryHost.NetBiosName, nullptr);
    EXPECT_EQ(info->SubnetMask, kMask);
    EXPECT_EQ(info->SubnetComment, nullptr);
    WCHAR* const name = info->SubnetName;
    dll.Free(info);
    EXPECT_STREQ(name, L"") << "must live on: it is a block of its own";
    dll.Free(nullptr);
    dll.Free(info);
    dll.Free(&info);
    dll.library.Unload();
    const std::string unknown =
        "MISUSE DhcpRpcFreeMemory: no block of this server, or freed before\n";
    EXPECT_EQ(ReadAll(folder / L"j"),
              "DhcpGetSubnetInfo server=10.0.0.2 subnet=10.1.0.0 -> 0\nDhcpRpcFreeMemory block\n"
              "DhcpRpcFreeMemory null\n" +
                  unknown + unknown + "MISUSE blocks not freed: 1\n");
}

TEST(LabDhcpServer, PagesAreReadToTheEndAndFreedBlockByBlock) {
    const Folder folder;
    Dll dll(folder, {{L"DHCPLAB_PAGE_BYTES", L"300"}, {L"DHCPLAB_JOURNAL_FREES", L"0"}});
    dll.CreateScope(nullptr);
    for (BYTE number = 5; number > 0; --number) {
        dll.CreateClient(number);
    }
    std::string seen;
    DWORD code = ERROR_MORE_DATA;
    DWORD resume = 0;
    for (int page = 0; page < 9 && code == ERROR_MORE_DATA; ++page) {
        DHCP_CLIENT_INFO_ARRAY_V4* array = nullptr;
        DWORD read = 0;
        DWORD total = 0;
        code = dll.Call<DhcpEnumSubnetClientsV4Fn>("DhcpEnumSubnetClientsV4", kServer, kScope,
                                                   &resume, 0xFFFFFFFF, &array, &read, &total);
        ASSERT_NE(array, nullptr);
        EXPECT_EQ(array->NumElements, read);
        for (DWORD i = 0; i < read; ++i) {
            DHCP_CLIENT_INFO_V4* const client = array->Clients[i];
            const DHCP_BINARY_DATA& mac = client->ClientHardwareAddress;
            seen += lab::Dotted(client->ClientIpAddress) + " " + lab::Dotted(client->SubnetMask) +
                    " " + std::to_string(mac.DataLength) + ":" + std::to_string(mac.Data[5]) +
                    (client->ClientName ? " named" : "") + (client->ClientComment ? " said" : "") +
                    " " + std::to_string(client->ClientLeaseExpires.dwHighDateTime) + "/" +
                    std::to_string(client->bClientType) + "\n";
            for (void* const block :
                 {static_cast<void*>(mac.Data), static_cast<void*>(client->ClientName),
                  static_cast<void*>(client->OwnerHost.NetBiosName), static_cast<void*>(client)}) {
                dll.Free(block);
            }
        }
        dll.Free(array->Clients);
        dll.Free(array);
    }
    EXPECT_EQ(code, DWORD{ERROR_SUCCESS});
    std::string expected;
    for (const char* const number : {"1", "2", "3", "4", "5"}) {
        expected += std::string("10.1.0.") + number + " 255.255.0.0 6:" + number + " named 2/100\n";
    }
    EXPECT_EQ(seen, expected);
    dll.library.Unload();
    const std::string journal = ReadAll(folder / L"j");
    EXPECT_EQ(journal.substr(journal.find("DhcpEnum")),
              "DhcpEnumSubnetClientsV4 server=10.0.0.2 subnet=10.1.0.0 resume=0.0.0.0 "
              "preferred=4294967295 -> 234 read=2 total=2147483647 resume=10.1.0.2\n"
              "DhcpEnumSubnetClientsV4 server=10.0.0.2 subnet=10.1.0.0 resume=10.1.0.2 "
              "preferred=4294967295 -> 234 read=2 total=2147483647 resume=10.1.0.4\n"
              "DhcpEnumSubnetClientsV4 server=10.0.0.2 subnet=10.1.0.0 resume=10.1.0.4 "
              "preferred=4294967295 -> 0 read=1 total=1 resume=0.0.0.0\n");
}

TEST(LabDhcpServer, APlannedFaultComesBeforeTheRulesAndChangesNothing) {
    const Folder folder;
    WriteAll(folder / L"f", "DhcpCreateSubnet #2 = 5\nDhcpEnumSubnetClientsV4 * = 1722\n");
    WriteAll(folder / L"s", R"({"scopes":{"10.1.0.0":{"mask":"255.255.0.0"}}})");
    Dll dll(folder, {{L"DHCPLAB_FAULTS", folder / L"f"}});
    EXPECT_EQ(dll.CreateScope(nullptr), 20052u);
    EXPECT_EQ(dll.CreateScope(nullptr, 0x0B010000), 5u);
    auto* array = reinterpret_cast<DHCP_CLIENT_INFO_ARRAY_V4*>(1);
    DWORD numbers[] = {7, 8, 9};
    EXPECT_EQ(
        dll.Call<DhcpEnumSubnetClientsV4Fn>("DhcpEnumSubnetClientsV4", kServer, kScope, &numbers[0],
                                            1u, &array, &numbers[1], &numbers[2]),
        1722u);
    EXPECT_EQ(reinterpret_cast<size_t>(array) + numbers[0] + numbers[1] + numbers[2], 25u);
    dll.library.Unload();
    EXPECT_EQ(ReadAll(folder / L"s"), R"({"scopes":{"10.1.0.0":{"mask":"255.255.0.0"}}})");
    EXPECT_EQ(ReadAll(folder / L"j").find("read="), std::string::npos);
}

TEST(LabDhcpServer, AStateThatCannotBeReadIsReportedAndLeftAlone) {
    const Folder folder;
    WriteAll(folder / L"s", "{\"scopes\": 5}");
    Dll dll(folder, {{L"DHCPLAB_RESERVE_LEASED", L"20014"}});
    EXPECT_EQ(dll.CreateScope(nullptr), 20013u);
    dll.library.Unload();
    const std::string journal = ReadAll(folder / L"j");
    EXPECT_EQ(journal.find("MISUSE setting DHCPLAB_RESERVE_LEASED not understood: 20014\n"), 0u);
    EXPECT_NE(journal.find("s: scopes: not an object\nDhcpCreateSubnet"), std::string::npos);
    EXPECT_EQ(ReadAll(folder / L"s"), "{\"scopes\": 5}");
}

/// Runs a program to its end and returns its exit code.
DWORD RunProgram(std::wstring commandLine) {
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process{};
    if (!::CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, CREATE_NO_WINDOW,
                          nullptr, nullptr, &startup, &process)) {
        return ~0u;
    }
    ::WaitForSingleObject(process.hProcess, 30000);
    DWORD code = ~0u;
    ::GetExitCodeProcess(process.hProcess, &code);
    ::CloseHandle(process.hThread);
    ::CloseHandle(process.hProcess);
    return code;
}

DWORD CountScopes(StateFile& file) {
    return file.Run([](ServerState& state) { return static_cast<DWORD>(state.Scopes().size()); });
}

/// Creates 50 scopes and dies without a chance to clean up.
void ImportUntilKilled() {
    const std::wstring state = StateFile::PathFromEnvironment();
    const Library library(L"dhcpsapi.dll", {{L"DHCPLAB_SERVER_STATE", state}});
    auto* const create = library.Get<DhcpCreateSubnetFn>("DhcpCreateSubnet");
    DWORD failures = 0;
    for (DWORD id = 1; id <= 50; ++id) {
        DHCP_SUBNET_INFO info{};
        info.SubnetAddress = id << 24;
        info.SubnetMask = 0xFF000000;
        failures += create(kServer, info.SubnetAddress, &info) != ERROR_SUCCESS;
    }
    ::TerminateProcess(::GetCurrentProcess(), 100 + failures);
}

TEST(LabDhcpServer, AKilledProcessLosesNothingItWasAnswered) {
    constexpr wchar_t kVictim[] = L"LABTEST_VICTIM";  // set in the process that this test starts
    if (::GetEnvironmentVariableW(kVictim, nullptr, 0)) {
        ImportUntilKilled();
    }
    const Folder folder;
    wchar_t program[MAX_PATH];
    ::GetModuleFileNameW(nullptr, program, MAX_PATH);
    ::SetEnvironmentVariableW(kVictim, L"1");
    ::SetEnvironmentVariableW(L"DHCPLAB_SERVER_STATE", (folder / L"s").c_str());
    const DWORD code =
        RunProgram(L"\"" + std::wstring(program) + L"\" --gtest_filter=LabDhcpServer.AKilled*");
    ::SetEnvironmentVariableW(kVictim, nullptr);
    EXPECT_EQ(code, 100u);
    EXPECT_EQ(ReadAll(folder / L"s"), "") << "nobody had the time to write it";
    StateFile file(folder / L"s");
    EXPECT_EQ(CountScopes(file), 50u);
}

void AddScope(StateFile& file, DWORD id) {
    file.Run([id](ServerState& state) {
        state.PutScope(id << 24, {0xFF000000, {}, {}, 0, {}, {}, {}, {}});
        state.PutExclusion(id << 24, (id << 24) + 1, (id << 24) + 1);
        return DWORD{ERROR_SUCCESS};
    });
}

TEST(LabDhcpState, SeveralUsersSeeEachOtherAndTheLastOneFolds) {
    const Folder folder;
    const std::wstring path = folder / L"s";
    StateFile first(path);
    AddScope(first, 1);
    {
        StateFile second(path);
        EXPECT_EQ(CountScopes(second), 1u);
        AddScope(second, 2);
    }
    EXPECT_EQ(ReadAll(path), "") << "another one still works with the log";
    EXPECT_EQ(CountScopes(first), 2u);
    EXPECT_THROW(first.Run([](ServerState& state) -> DWORD {
        state.PutScope(0x09000000, {});
        throw std::runtime_error("failed half-way");
    }),
                 std::runtime_error);
    EXPECT_EQ(CountScopes(first), 2u) << "what was not stored did not happen";
    first.Close();
    EXPECT_EQ(::GetFileAttributesW((path + L".log").c_str()), INVALID_FILE_ATTRIBUTES);
    EXPECT_EQ(CountScopes(first), 2u) << "opened once more";
}

TEST(LabDhcpState, LogsThatAKilledProcessLeaves) {
    const Folder folder;
    const std::wstring path = folder / L"s";
    const std::string one = R"({"scopes":{"1.0.0.0":{"mask":"255.0.0.0","state":0}}})";
    const std::string two = R"({"scopes":{"1.0.0.0":{"exclusions":{"1.0.0.1":"1.0.0.1"}}}})";
    const std::string three = R"({"scopes":{"1.0.0.0":{"exclusions":{"1.0.0.1":null}}}})";
    const auto result = [&path](const std::string& snapshot, const std::string& log) {
        WriteAll(path, snapshot);
        WriteAll(path + L".log", log);
        StateFile file(path);
        std::string text;
        file.Run([&text](ServerState& state) {
            text = std::to_string(state.Scopes().size()) + " scopes " +
                   std::to_string(state.Scopes().begin()->second.exclusions.size()) + " exclusions";
            return DWORD{ERROR_SUCCESS};
        });
        AddScope(file, 2);
        StateFile reader(path);
        EXPECT_EQ(CountScopes(reader), 2u) << "from the log";
        reader.Close();
        file.Close();
        return text + (ReadAll(path).find("2.0.0.1") != std::string::npos ? ", next" : ", lost");
    };
    EXPECT_EQ(result("{}", one + "\n" + two + "\n"), "1 scopes 1 exclusions, next");
    EXPECT_EQ(result("{}", one + "\n" + two + std::string(200, ' ')), "1 scopes 0 exclusions, next")
        << "half a line";
    const std::string folded = R"({"scopes":{"1.0.0.0":{"mask":"255.0.0.0","exclusions":{}}}})";
    EXPECT_EQ(result(folded, one + "\n" + two + "\n" + three + "\n"), "1 scopes 0 exclusions, next")
        << "killed between the snapshot and the removal of the log";
}

TEST(LabNetsh, WordsAndTheirEffect) {
    const struct {
        const char* why;
        const wchar_t* line;  // words separated by blanks; ' stands for a quotation mark
        const char* expected;
    } rows[] = {
        {"", L"dhcp server 10.0.0.2 add scope 10.1.0.0 255.255.0.0 Main", "0"},
        {"keywords in any case", L"DHCP Server Add Scope 10.2.0.0 255.255.0.0 'Main LAN' Office",
         "0"},
        {"a bare name", L"dhcp server gateway scope 10.1.0.0 add iprange 10.1.0.1 10.1.0.9", "0"},
        {"backslashes", L"dhcp server \\\\gw scope 10.1.0.0 add iprange 10.1.0.1 10.1.0.9",
         "20021"},
        {"blanks move words", L"dhcp server x add scope 10.3.0.0 255.255.0.0 Main LAN Office",
         "usage"},
        {"no name", L"dhcp server x add scope 10.3.0.0 255.255.0.0", "usage"},
        {"no address", L"dhcp server x add scope 10.3.0 255.255.0.0 a", "usage"},
        {"no mask", L"dhcp server x add scope 10.3.0.0 16 a", "usage"},
        {"too few", L"dhcp server x scope 10.1.0.0 add iprange 10.1.0.1", "usage"},
        {"kind", L"dhcp server x scope 10.1.0.0 add iprange 10.1.0.1 10.1.0.8 bootp 5", "0"},
        {"bad kind", L"dhcp server x scope 10.1.0.0 add iprange 10.1.0.1 10.1.0.8 all", "usage"},
        {"bad count", L"dhcp server x scope 10.1.0.0 add iprange 10.1.0.1 10.1.0.8 both x",
         "usage"},
        {"", L"dhcp server x scope 10.1.0.0 add excluderange 10.1.0.1 10.1.0.1", "0"},
        {"again", L"dhcp server x scope 10.1.0.0 add excluderange 10.1.0.1 10.1.0.1", "20023"},
        {"surplus", L"dhcp server x scope 10.1.0.0 add excluderange 10.1.0.2 10.1.0.2 a", "usage"},
        {"", L"dhcp server x scope 10.1.0.0 set optionvalue 3 IPADDRESS 10.1.0.1 10.1.0.2", "0"},
        {"", L"dhcp server x scope 10.1.0.0 set optionvalue 51 dword dhcpfullforce 691200", "0"},
        {"empty class", L"dhcp server x scope 10.1.0.0 set optionvalue 15 STRING user= a", "0"},
        {"a class", L"dhcp server x scope 10.1.0.0 set optionvalue 15 STRING user=b a", "class"},
        {"no value", L"dhcp server x scope 10.1.0.0 set optionvalue 51 DWORD", "usage"},
        {"no number", L"dhcp server x scope 10.1.0.0 set optionvalue 51 DWORD -1", "usage"},
        {"too big", L"dhcp server x scope 10.1.0.0 set optionvalue 23 BYTE 256", "usage"},
        {"no type", L"dhcp server x scope 10.1.0.0 set optionvalue 51 691200", "usage"},
        {"undefined", L"dhcp server x scope 10.1.0.0 set optionvalue 99 BYTE 0xFF", "20010"},
        {"name, comment", L"dhcp server x scope 10.1.0.0 add reservedip 10.1.0.5 0aBB Front Desk",
         "0"},
        {"a third word", L"dhcp server x scope 10.1.0.0 add reservedip 10.1.0.6 0c a b c", "usage"},
        {"the kind", L"dhcp server x scope 10.1.0.0 add reservedip 10.1.0.6 0c a '' Dhcp", "0"},
        {"no name", L"dhcp server x scope 10.1.0.0 add reservedip 10.1.0.7 0d", "0"},
        {"taken", L"dhcp server x scope 10.1.0.0 add reservedip 10.1.0.8 0d", "20022"},
        {"colons", L"dhcp server x scope 10.1.0.0 add reservedip 10.1.0.8 00:1A", "usage"},
        {"odd count", L"dhcp server x scope 10.1.0.0 add reservedip 10.1.0.8 001", "usage"},
        {"nothing", L"dhcp server x scope 10.1.0.0 add reservedip 10.1.0.8 ''", "usage"},
        {"deleted", L"dhcp server x scope 10.1.0.0 delete reservedip 10.1.0.7 0d", "0"},
        {"no name here", L"dhcp server x scope 10.1.0.0 delete reservedip 10.1.0.6 0c a", "usage"},
        {"unknown", L"dhcp server x scope 10.1.0.0 show clients", "not found"},
        {"elsewhere", L"interface ip show config", "not found"},
        {"out of its context", L"dhcp server x add iprange 10.1.0.1 10.1.0.9", "not found"},
    };
    ServerState state;
    const lab::ServerSettings settings;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        std::vector<std::wstring> words(1);
        bool isQuoted = false;
        for (const wchar_t* at = row.line; *at; ++at) {
            isQuoted = isQuoted != (*at == L'\'');
            if (*at == L' ' && !isQuoted) {
                words.emplace_back();
            } else if (*at != L'\'') {
                words.back() += *at;
            }
        }
        const auto command = lab::NetshCommand::Parse(words);
        lab::ServerRules rules(state, settings);
        EXPECT_EQ(!command                   ? "not found"
                  : command->usage           ? "usage"
                  : !command->isDefaultClass ? "class"
                                             : std::to_string(command->Run(rules)),
                  row.expected);
    }
    const auto longest =
        lab::NetshCommand::Parse({L"dhcp", L"server", L"scope", L"10.1.0.0", L"add", L"reservedip",
                                  L"10.1.0.8", std::wstring(512, L'a')});
    EXPECT_TRUE(longest && longest->usage) << "more than 510 digits";
    ServerState expected;
    lab::ApplyJson(R"({"scopes": {
        "10.1.0.0": {"mask": "255.255.0.0", "name": "Main", "comment": "", "state": 0,
                     "range": {"first": "10.1.0.1", "last": "10.1.0.8"},
                     "exclusions": {"10.1.0.1": "10.1.0.1"},
                     "reservations": {"10.1.0.5": {"mac": "0a-bb", "types": 3},
                                      "10.1.0.6": {"mac": "0c", "types": 1}},
                     "options": {"3": [{"ip": "10.1.0.1"}, {"ip": "10.1.0.2"}],
                                 "15": [{"string": "a"}], "51": [{"dword": 691200}]}},
        "10.2.0.0": {"mask": "255.255.0.0", "name": "Main LAN", "comment": "Office"}},
      "clients": {"10.1.0.5": {"mac": "0a-bb", "name": "Front", "comment": "Desk",
                               "ownerName": "DHCPLAB"},
                  "10.1.0.6": {"mac": "0c", "name": "a", "comment": "", "ownerName": "DHCPLAB"}}})",
                   expected);
    EXPECT_EQ(lab::SnapshotText(state), lab::SnapshotText(expected));
}

TEST(LabNetsh, SaysWhatNetshSaysAndSharesTheState) {
    const Folder folder;
    Dll dll(folder);
    WriteAll(folder / L"f", "netsh * = 1722\n");
    ASSERT_EQ(dll.CreateScope(nullptr), 0u);
    std::wstring netsh = std::wstring(LAB_DIRECTORY) + L"/netsh.exe dhcp server 10.0.0.2 ";
    for (wchar_t& character : netsh) {
        character = character == L'/' ? L'\\' : character;
    }
    const auto run = [&](const wchar_t* arguments) {
        const DWORD code = RunProgram(L"cmd /c " + netsh + arguments + L" >" + (folder / L"out"));
        std::string text = ReadAll(folder / L"out");
        text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
        return std::to_string(code) + " " + text;
    };
    const std::string context = "\nChanged the current scope context to 10.1.0.0 scope.\n\n";
    EXPECT_EQ(run(L"add scope 10.2.0.0 255.255.0.0 \"a b\""),
              "0 Command completed successfully.\n");
    EXPECT_EQ(run(L"scope 10.1.0.0 add reservedip 10.1.0.5 0a"),
              "0 " + context + "Command completed successfully.\n");
    EXPECT_EQ(
        run(L"scope 10.1.0.0 add reservedip 10.1.0.5 0b"),
        "1 " + context +
            "The specified IP address or hardware address is being used by another client.\n");
    EXPECT_EQ(run(L"scope 10.9.0.0 add iprange 1"),
              "1 The command needs a valid Scope IP Address.\n");
    EXPECT_EQ(run(L"help"), "1 The following command was not found: dhcp server 10.0.0.2 help.\n");
    ::SetEnvironmentVariableW(L"DHCPLAB_FAULTS", (folder / L"f").c_str());
    EXPECT_EQ(run(L"scope 10.1.0.0 delete reservedip 10.1.0.5 0a"),
              "1 Unable to determine the DHCP Server version for the Server 10.0.0.2.\n"
              "Server may not function properly.\n");
    EXPECT_EQ(dll.CreateScope(nullptr, 0x0A020000), 20052u) << "the DLL sees netsh's scope";
    dll.library.Unload();
    const std::string journal = ReadAll(folder / L"j");
    EXPECT_NE(
        journal.find("\nnetsh dhcp server 10.0.0.2 add scope 10.2.0.0 255.255.0.0 \"a b\" -> 0\n"),
        std::string::npos);
    EXPECT_NE(ReadAll(folder / L"s").find("\"10.1.0.5\": {\"mac\":\"0a\""), std::string::npos);
}

}  // namespace
}  // namespace lab_test
