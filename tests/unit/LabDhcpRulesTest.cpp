// The server's rules. A script calls one server in order; what it leaves is compared at its end,
// once as the state itself and once as a reader of the log gets to know it.
#include <gtest/gtest.h>

#include <iomanip>
#include <sstream>

#include "lab/dhcpserver/AddressText.h"
#include "lab/dhcpserver/StateJson.h"
#include "lab/journal/Journal.h"
#include "lab/netsh/NetshCommand.h"

namespace lab {
namespace {

constexpr DWORD kScope = 0x0A010000;

class Server {
public:
    explicit Server(const char* json) {
        ApplyJson(json, state);
        ApplyJson(json, m_mirror);
        state.ForgetTouched();
    }
    /// A line in the first column begins a call. Those below it hold an answer, the arguments
    /// that get it, separated by semicolons, and the rule behind '#'.
    void Run(const char* script) {
        std::istringstream lines(script);
        std::string command;
        for (std::string line; std::getline(lines, line);) {
            SCOPED_TRACE(line);
            line.resize(std::min(line.find('#'), line.size()));
            if (line.rfind(' ', 0) != 0) {
                command = line;
                continue;
            }
            std::istringstream calls(line);
            std::string answer;
            calls >> answer;
            for (std::string arguments; std::getline(calls, arguments, ';');) {
                arguments.insert(0, command + ' ');
                EXPECT_EQ(Answer(arguments), answer) << arguments;
                ApplyJson(ChangeLine(state), m_mirror);
                state.ForgetTouched();
            }
        }
    }
    void ExpectState(const char* json) const {
        ServerState expected;
        ApplyJson(json, expected);
        EXPECT_EQ(SnapshotText(state), SnapshotText(expected));
        EXPECT_EQ(SnapshotText(m_mirror), SnapshotText(expected)) << "by the changes alone";
    }

    ServerState state;
    ServerSettings settings;

private:
    /// "netsh ..." or "client ADDRESS HARDWARE EXPIRES SERVER"; ' stands for a quotation mark.
    std::string Answer(const std::string& call) {
        std::istringstream text(call);
        std::string kind;
        text >> kind;
        std::vector<std::wstring> words;
        for (std::string word; text >> std::quoted(word, '\'');)
            words.push_back(FromUtf8(word));
        ServerRules rules(state, settings, [] { return 1000; });
        if (kind == "netsh") {
            const auto command = NetshCommand::Parse(words);
            return !command                   ? "unknown"
                   : command->usage           ? "usage"
                   : !command->isDefaultClass ? "class"
                                              : std::to_string(command->Run(rules));
        }
        Identifier hardware = *ParseHexBytes(words[1]);
        DHCP_CLIENT_INFO_V4 info{};
        info.ClientIpAddress = *ParseAddress(words[0]);
        info.SubnetMask = 0xFF;  // this, owner and type are the server's to decide
        info.OwnerHost.IpAddress = 1;
        info.bClientType = CLIENT_TYPE_BOTH;
        info.ClientHardwareAddress = {static_cast<DWORD>(hardware.size()),
                                      reinterpret_cast<BYTE*>(hardware.data())};
        info.ClientLeaseExpires.dwLowDateTime = static_cast<DWORD>(std::stoul(words[2]));
        return std::to_string(rules.CreateClient(words[3].c_str(), info));
    }

    ServerState m_mirror;  // knows only what the calls said they changed
};

TEST(LabDhcpRules, ScopesAndWhatIsInThem) {
    Server server(R"({"scopes": {"10.9.0.0": {"mask": "255.255.255.0"}}})");
    server.Run(R"(netsh DHCP Server Add Scope
    0      10.1.0.0 255.255.255.0 'Main LAN' Office; 11.0.0.0 255.0.255.0 a
    87     0.0.0.0 255.255.0.0 a; 10.1.2.3 255.255.255.0 a  # no network, host bits
    0      10.1.1.0 255.255.255.0 next                # to the first one
    20052  10.1.0.0 255.255.255.0 a; 10.1.0.128 255.255.255.128 a; 10.0.0.0 255.0.0.0 a  # overlap
    usage  10.3.0.0 255.255.0.0 Main LAN Office; 10.3.0.0 255.255.0.0  # a word too many, too few
    usage  10.3.0 255.255.0.0 a; 10.3.0.0 16 a
netsh dhcp server \\gateway scope 10.1.0.0 add iprange
    20023  10.1.0.9 10.1.0.8; 10.1.0.1 10.1.1.1; 10.0.255.255 10.1.0.9  # backwards, leaving it
    0      10.1.0.20 10.1.0.20                        # one address
    20021  10.1.0.20 10.1.0.20; 10.1.0.20 10.1.0.20 both  # the same
    0      10.1.0.10 10.1.0.30; 10.1.0.10 10.1.0.20   # a scope has one: widened, narrowed
    20023  10.1.0.15 10.1.0.25; 10.1.0.40 10.1.0.50   # shifted, apart
    0      10.1.0.0 10.1.0.255 BootP 5                # the subnet's own addresses count, too
    usage  10.1.0.1; 10.1.0.1 10.1.0.8 all; 10.1.0.1 10.1.0.8 both x
netsh dhcp server x scope 10.9.0.0 add excluderange
    20023  10.9.0.9 10.9.0.8; 10.9.0.250 10.9.1.1     # backwards, leaving the subnet
    0      10.9.0.20 10.9.0.29                        # no range is needed
    20023  10.9.0.20 10.9.0.29; 10.9.0.29 10.9.0.35; 10.9.0.15 10.9.0.20  # the same, overlapping
    20023  10.9.0.22 10.9.0.23; 10.9.0.2 10.9.0.99    # inside, around
    0      10.9.0.30 10.9.0.30                        # next to it
netsh dhcp server x scope 10.9.0.0 set optionvalue
    0      3 STRING x; 3 IPADDRESS 10.9.0.1 10.9.0.2  # types are not checked; replaced
    0      51 dword dhcpfullforce 691199; 15 STRING user= vendor= a; 76 BYTE 0xFF; 81 WORD 1
    class  15 STRING user=b a
    usage  51 DWORD; 51 DWORD -1; 51 DWORD 4294967296; 23 BYTE 256; 23 WORD 65536; 51 691200
    20010  0 BYTE 1; 77 BYTE 1                        # not defined
netsh dhcp server x scope 10.8.0.0 set optionvalue
    20005  76 BYTE 1
netsh dhcp server x
    unknown  add iprange 10.1.0.1 10.1.0.9; scope 10.1.0.0 show clients; scope 10.1.0.0 add scope
)");
    server.ExpectState(R"({"scopes": {
        "10.1.0.0": {"mask": "255.255.255.0", "name": "Main LAN", "comment": "Office",
                     "range": {"first": "10.1.0.0", "last": "10.1.0.255"}},
        "10.1.1.0": {"mask": "255.255.255.0", "name": "next", "comment": ""},
        "10.9.0.0": {"mask": "255.255.255.0",
            "exclusions": {"10.9.0.20": "10.9.0.29", "10.9.0.30": "10.9.0.30"},
            "options": {"3": [{"ip": "10.9.0.1"}, {"ip": "10.9.0.2"}], "15": [{"string": "a"}],
                        "51": [{"dword": 691199}], "76": [{"byte": 255}], "81": [{"word": 1}]}},
        "11.0.0.0": {"mask": "255.0.255.0", "name": "a", "comment": ""}}})");  // holes are fine
}

TEST(LabDhcpRules, ClientsAndReservations) {
    Server server(R"({"server": {"options": {"51": [{"dword": 60}]}}, "scopes": {
        "10.1.0.0": {"mask": "255.255.255.0", "options": {"51": [{"byte": 9}]}},
        "10.2.0.0": {"mask": "255.255.255.0", "options": {"51": [{"dword": 5}]},
                     "reservations": {"10.2.0.9": {"mac": "09"}}}}})");
    server.Run(R"(client
    87     10.9.0.5 05 0 x; 10.1.0.5 '' 0 x           # no scope, no hardware address
    0      10.1.0.5 00 5 server.example               # one byte is enough; a name owns nothing
    20013  10.1.0.5 01 5 x; 10.1.0.6 00 5 x           # the address, the hardware address again
    0      10.2.0.5 00 5 127.0.0.1                    # the hardware address in another scope
    0      10.1.0.7 07 777 x; 10.1.0.8 08 777 x; 10.1.0.11 11 5 x
netsh dhcp server x scope 10.1.0.0 add reservedip
    20018  10.2.0.6 06                                # outside of the subnet
    0      10.1.0.6 0aBB Front Desk; 10.1.0.12 12     # no range is needed
    20022  10.1.0.6 0acc; 10.1.0.9 0abb               # address, hardware address reserved already
    20022  10.1.0.7 09; 10.1.0.9 07                   # leased to another; its lease is elsewhere
    0      10.1.0.7 07; 10.1.0.8 08                   # its own lease, which stays as it is
    usage  10.1.0.9 0e a b c; 10.1.0.9 00:1A; 10.1.0.9 00-1A; 10.1.0.9 001; 10.1.0.9 ''; 10.1.0.9
netsh dhcp server x scope 10.2.0.0 add reservedip
    0      10.2.0.6 0abb dhcp '' DHCP; 10.2.0.5 00    # the hardware address in another scope
netsh dhcp server x scope 10.1.0.0 delete reservedip
    20013  10.1.0.30 30                               # neither reservation nor lease
    0      10.1.0.11 99                               # a lease is deleted, whoever asks
    20019  10.1.0.12 99                               # the reservation of another one
    0      10.1.0.12 0000010a0112                     # by the long identifier; its record goes, too
    0      10.1.0.7 07                                # the lease stays, by the server's lease time
netsh dhcp server x scope 10.2.0.0 delete reservedip
    0      10.2.0.5 00                                # the lease stays, by the scope's lease time
    20013  10.2.0.9 09                                # had no record; the reservation is gone
)");
    server.ExpectState(R"({"server": {"options": {"51": [{"dword": 60}]}}, "scopes": {
        "10.1.0.0": {"mask": "255.255.255.0", "options": {"51": [{"byte": 9}]},
            "reservations": {"10.1.0.6": {"mac": "0a-bb"}, "10.1.0.8": {"mac": "08"}}},
        "10.2.0.0": {"mask": "255.255.255.0", "options": {"51": [{"dword": 5}]},
            "reservations": {"10.2.0.6": {"mac": "0a-bb", "types": 1}}}},
      "clients": {
        "10.1.0.5": {"mac": "00", "expires": 5, "ownerName": "DHCPLAB"},
        "10.1.0.6": {"mac": "0a-bb", "name": "Front", "comment": "Desk", "ownerName": "DHCPLAB"},
        "10.1.0.7": {"mac": "07", "expires": 600001000, "ownerName": "DHCPLAB"},
        "10.1.0.8": {"mac": "08", "expires": 777, "ownerName": "DHCPLAB"},
        "10.2.0.5": {"mac": "00", "expires": 50001000, "ownerName": "DHCPLAB",
                     "ownerAddress": "127.0.0.1"},
        "10.2.0.6": {"mac": "0a-bb", "name": "dhcp", "comment": "", "ownerName": "DHCPLAB"}}})");
    server.settings.reserveLeasedCode = kJetError;
    server.Run(R"(netsh dhcp server x scope 10.1.0.0 add reservedip
    20013  10.1.0.5 99; 10.1.0.9 07
    20022  10.1.0.6 99; 10.1.0.9 0abb                 # reserved, not just leased
)");
}

TEST(LabDhcpRules, ClientsAreListedPageByPage) {
    Server server(R"({"scopes": {"10.1.0.0": {"mask": "255.255.0.0"},
        "10.2.0.0": {"mask": "255.255.0.0"}, "10.3.0.0": {"mask": "255.255.0.0"}}})");
    const auto list = [&server](DWORD subnet, DWORD resume, DWORD bytes) {
        ClientPage page;
        const ServerRules rules(server.state, server.settings);
        std::string text = std::to_string(rules.EnumClients(subnet, resume, bytes, page));
        text += page.hasArray ? ":" : " none";
        for (const auto& found : page.clients) {
            text += page.clients.size() < 4 ? " " + Dotted(found.address) : ".";
        }
        return text + " of " + std::to_string(page.total) + " to " + Dotted(page.resume);
    };
    EXPECT_EQ(list(kScope, 0, 0), "259 none of 0 to 0.0.0.0") << "no client anywhere";
    ApplyJson(R"({"clients": {"10.2.0.9": {"mac": "09"}, "10.2.0.10": {"mac": "0a"},
                              "10.1.0.200": {"mac": "c8"}}})",
              server.state);
    EXPECT_EQ(list(0x0A030000, 0, 0), "0: of 0 to 0.0.0.0") << "no client here";
    EXPECT_EQ(list(0x0A090000, 0, 0), "0: of 0 to 0.0.0.0") << "no such scope";
    EXPECT_EQ(list(0, 0, 0), "0: 10.1.0.200 10.2.0.9 10.2.0.10 of 3 to 0.0.0.0");
    EXPECT_EQ(list(0x0A020000, 8, 0), "20013 none of 0 to 0.0.0.0") << "on from one that went";
    server.settings.pageBytes = 178;  // 80 + 8 + 1 each
    EXPECT_EQ(list(0x0A020000, 0, 0), "0: 10.2.0.9 10.2.0.10 of 2 to 0.0.0.0");
    server.settings.pageBytes = 177;
    EXPECT_EQ(list(0x0A020000, 0, 0), "234: 10.2.0.9 of 2147483647 to 10.2.0.9");
    EXPECT_EQ(list(0x0A020000, 0x0A020009, 0), "0: 10.2.0.10 of 1 to 0.0.0.0");
    server.settings.pageBytes = 0;
    for (DWORD i = 0; i < 800; ++i) {  // with 92 bytes each
        const Identifier id = UniqueId(kScope, std::to_string(1000 + i));
        server.state.PutClient(kScope + i, Client{id, {}, {}, 0, CLIENT_TYPE_NONE, {}, 0});
    }
    const std::string more = " of 2147483647 to 10.1.";
    EXPECT_EQ(list(0, 0, 1), "234:" + std::string(11, '.') + more + "0.10");
    EXPECT_EQ(list(0, 0, ~0u), "234:" + std::string(712, '.') + more + "2.199");
    server.settings.nullEmptyPages = true;
    EXPECT_EQ(list(0x0A030000, 0, 0), "0 none of 0 to 0.0.0.0");
}

TEST(LabDhcpState, WhatNoServerCanHoldIsRefused) {
    ServerState state;
    ApplyJson(R"({"scopes": {"9.0.0.0": {"mask": "255.0.0.0"}}})", state);
    for (const char* const refused :
         {R"({"scopes":{)", "[]", R"({"scope":{}})", R"({"scopes":{"8.1":{"mask":"255.0.0.0"}}})",
          R"({"scopes":{"9.0.0.0":{"exlusions":{}}}})", R"({"scopes":{"8.0.0.0":{}}})",
          R"({"scopes":{"9.1.0.0":{"mask":"255.255.0.0"}}})",
          R"({"clients":{"10.0.0.5":{"mac":"01"}}})",
          R"({"clients":{"9.0.0.5":{"mac":"01","uniqueId":"000000090102"}}})",
          R"({"server":{"options":{"3":[{"Ip":"1.1.1.1"}]}}})"})
        EXPECT_THROW(ApplyJson(refused, state), std::runtime_error) << refused;
}

}  // namespace
}  // namespace lab
