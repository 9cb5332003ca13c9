// The server's rules and netsh. A script calls one server in order; what it leaves is compared at
// its end.
#include <gtest/gtest.h>

#include <iomanip>
#include <sstream>

#include "lab/dhcpserver/StateJson.h"
#include "lab/journal/Text.h"
#include "lab/netsh/NetshCommand.h"

namespace lab {
namespace {

constexpr DWORD kScope = 0x0A010000;

class Server {
public:
    explicit Server(const char* json) { ReadSnapshot(json, state); }
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
            for (std::string arguments; std::getline(calls, arguments, ';');)
                EXPECT_EQ(Answer(command + ' ' + arguments), answer) << arguments;
        }
    }
    void ExpectState(const char* json) const {
        ServerState expected, readBack;
        ReadSnapshot(json, expected);
        EXPECT_EQ(SnapshotText(state), SnapshotText(expected));
        ReadSnapshot(SnapshotText(state), readBack);
        EXPECT_EQ(SnapshotText(readBack), SnapshotText(expected));
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
        const auto clock = [] { return 1000ULL; };
        if (kind == "netsh") {
            const auto command = NetshCommand::Parse(words, settings);
            std::string result = command ? command->Run(state, settings, clock).result : "unknown";
            return result.substr(0, result.find(' '));
        }
        Client client;
        client.hardware = *ParseHexBytes(words[1]);
        client.expires = std::stoul(words[2]);
        client.type = api::kTypeBoth;  // the server decides
        ServerRules rules(state, settings, clock);
        return std::to_string(rules.CreateClient(words[3], *ParseAddress(words[0]), client));
    }
};

TEST(LabDhcpRules, ScopesAndWhatIsInThem) {
    Server server(R"({"server": {"addresses": ["10.0.0.2", "Gateway"]}, "scopes": {
        "10.8.0.0": {"mask": "255.255.255.0", "state": 1, "range": {"first": "10.8.0.5", "last": "10.8.0.9"}},
        "10.9.0.0": {"mask": "255.255.255.0"}}})");
    server.Run(R"(netsh DHCP Server 10.0.0.2 Add Scope
    0      10.1.0.0 255.255.255.0 'Main LAN' Office; 11.0.0.0 255.0.255.0 a
    87     0.0.0.0 255.255.0.0 a; 10.1.2.3 255.255.255.0 a  # no network, host bits
    0      10.1.1.0 255.255.255.0 next                # to the first one
    20052  10.1.0.0 255.255.255.0 a; 10.1.0.128 255.255.255.128 a; 10.0.0.0 255.0.0.0 a  # overlap
    usage  10.3.0.0 255.255.0.0 Main LAN Office; 10.3.0.0 255.255.0.0  # a word too many, too few
    usage  10.3.0 255.255.0.0 a; 10.3.0.0 16 a; 10.3.0.00 255.255.0.0 a; 010.3.0.0 255.255.0.0 a
netsh dhcp server \\GATEWAY scope 10.1.0.0 add iprange
    20023  10.1.0.9 10.1.0.8; 10.1.0.1 10.1.1.1; 10.0.255.255 10.1.0.9  # backwards, leaving it
    0      10.1.0.20 10.1.0.20                        # one address
    20021  10.1.0.20 10.1.0.20                        # the same
    0      10.1.0.10 10.1.0.30; 10.1.0.10 10.1.0.20   # a scope has one: widened, narrowed
    20023  10.1.0.15 10.1.0.25; 10.1.0.40 10.1.0.50   # shifted, apart
    0      10.1.0.0 10.1.0.255                        # the subnet's own addresses count, too
    usage  10.1.0.1; 10.1.0.1 10.1.0.8 all
netsh dhcp server 10.0.0.2 scope 10.8.0.0 add iprange
    20023  10.8.0.5 10.8.0.99                         # the scope is disabled
netsh dhcp server 10.0.0.2 scope 10.9.0.0 add excluderange
    20023  10.9.0.9 10.9.0.8; 10.9.0.250 10.9.1.1     # backwards, leaving the subnet
    0      10.9.0.20 10.9.0.29                        # no range is needed
    20023  10.9.0.20 10.9.0.29; 10.9.0.29 10.9.0.35; 10.9.0.15 10.9.0.20  # the same, overlapping
    20023  10.9.0.22 10.9.0.23; 10.9.0.2 10.9.0.99    # inside, around
    0      10.9.0.30 10.9.0.30                        # next to it
netsh dhcp server 10.0.0.2 scope 10.9.0.0 set optionvalue
    0      51 dword 7; 51 DWORD 691199; 3 IPADDRESS 10.9.0.1  # replaced
    usage  51 DWORD; 51 DWORD -1; 51 DWORD 4294967296; 3 STRING x; 3 IPADDRESS 10.9.0.01
    20010  80 IPADDRESS 10.9.0.1                      # not defined
netsh dhcp server
    1722   10.0.0.3 add scope 10.3.0.0 255.255.0.0 a; \\other add scope 10.3.0.0 255.255.0.0 a
    unknown  gateway add scope 10.3.0.0 255.255.0.0 a  # no name without \\ before it
    no     10.0.0.2 scope 10.7.0.0 add iprange 10.7.0.1 10.7.0.2; \\gateway scope x add iprange a b
    unknown  add iprange 10.1.0.1 10.1.0.9; scope 10.1.0.0 show clients; scope 10.1.0.0 add scope
)");
    server.settings.netshBareNames = 1;
    server.Run(
        "netsh dhcp server gateway scope 10.1.0.0 add iprange\n    20021 10.1.0.0 10.1.0.255");
    server.ExpectState(R"({"server": {"addresses": ["10.0.0.2", "Gateway"]}, "scopes": {
        "10.1.0.0": {"mask": "255.255.255.0", "name": "Main LAN", "comment": "Office",
                     "range": {"first": "10.1.0.0", "last": "10.1.0.255"}},
        "10.1.1.0": {"mask": "255.255.255.0", "name": "next", "comment": ""},
        "10.8.0.0": {"mask": "255.255.255.0", "state": 1,
                     "range": {"first": "10.8.0.5", "last": "10.8.0.9"}},
        "10.9.0.0": {"mask": "255.255.255.0",
            "exclusions": {"10.9.0.20": "10.9.0.29", "10.9.0.30": "10.9.0.30"},
            "options": {"3": [{"ip": "10.9.0.1"}], "51": [{"dword": 691199}]}},
        "11.0.0.0": {"mask": "255.0.255.0", "name": "a", "comment": ""}}})");  // holes are fine
}

TEST(LabDhcpRules, ClientsAndReservations) {
    Server server(R"({"scopes": {"10.1.0.0": {"mask": "255.255.255.0"},
        "10.2.0.0": {"mask": "255.255.255.0", "options": {"51": [{"dword": 5}]},
                     "reservations": {"10.2.0.9": {"mac": "09"}}}}})");
    server.Run(R"(client
    87     10.9.0.5 05 0 x; 10.1.0.5 '' 0 x           # no scope, no hardware address
    0      10.1.0.5 00 5 server.example               # one byte is enough; a name owns nothing
    20013  10.1.0.5 01 5 x; 10.1.0.6 00 5 x           # the address, the hardware address again
    0      10.2.0.5 00 5 127.0.0.1                    # the hardware address in another scope
    0      10.1.0.7 07 777 x; 10.1.0.8 08 777 x; 10.1.0.11 11 5 x
netsh dhcp server \\x scope 10.1.0.0 add reservedip
    20018  10.2.0.6 06                                # outside of the subnet
    0      10.1.0.6 0aBB Front Desk; 10.1.0.12 12     # no range is needed
    20022  10.1.0.6 0acc; 10.1.0.9 0abb               # address, hardware address reserved already
    20022  10.1.0.7 09; 10.1.0.9 07                   # leased to another; its lease is elsewhere
    0      10.1.0.7 07; 10.1.0.8 08                   # its own lease, which stays as it is
    usage  10.1.0.9 0e a b c; 10.1.0.9 00:1A; 10.1.0.9 00-1A; 10.1.0.9 001; 10.1.0.9 ''; 10.1.0.9
netsh dhcp server \\x scope 10.2.0.0 add reservedip
    0      10.2.0.6 0abb dhcp '' DHCP; 10.2.0.5 00    # the hardware address in another scope
netsh dhcp server \\x scope 10.1.0.0 delete reservedip
    20013  10.1.0.30 30                               # neither reservation nor lease
    0      10.1.0.11 99                               # a lease is deleted, whoever asks
    20019  10.1.0.12 99                               # the reservation of another one
    0      10.1.0.12 0000010a0112                     # by the long identifier; its record goes, too
    0      10.1.0.7 07                                # the lease stays, for the default lease time
netsh dhcp server \\x scope 10.2.0.0 delete reservedip
    0      10.2.0.5 00                                # the lease stays, by the scope's lease time
    20013  10.2.0.9 09                                # had no record; the reservation is gone
)");
    server.ExpectState(R"({"scopes": {
        "10.1.0.0": {"mask": "255.255.255.0",
            "reservations": {"10.1.0.6": {"mac": "0a-bb"}, "10.1.0.8": {"mac": "08"}}},
        "10.2.0.0": {"mask": "255.255.255.0", "options": {"51": [{"dword": 5}]},
            "reservations": {"10.2.0.6": {"mac": "0a-bb", "types": 1}}}},
      "clients": {
        "10.1.0.5": {"mac": "00", "expires": 5, "ownerName": "DHCPLAB"},
        "10.1.0.6": {"mac": "0a-bb", "name": "Front", "comment": "Desk", "ownerName": "DHCPLAB"},
        "10.1.0.7": {"mac": "07", "expires": 6912000001000, "ownerName": "DHCPLAB"},
        "10.1.0.8": {"mac": "08", "expires": 777, "ownerName": "DHCPLAB"},
        "10.2.0.5": {"mac": "00", "expires": 50001000, "ownerName": "DHCPLAB",
                     "ownerAddress": "127.0.0.1"},
        "10.2.0.6": {"mac": "0a-bb", "name": "dhcp", "comment": "", "ownerName": "DHCPLAB"}}})");
}

TEST(LabDhcpRules, WhatDocumentsLeaveOpenCanBeSwitched) {
    Server server(R"({"scopes": {"10.1.0.0": {"mask": "255.255.255.0",
            "reservations": {"10.1.0.6": {"mac": "06"}, "10.1.0.8": {"mac": "08"}}}},
        "clients": {"10.1.0.5": {"mac": "05", "expires": 5, "type": 1},
                    "10.1.0.6": {"mac": "06"}, "10.1.0.8": {"mac": "08"}}})");
    server.settings.reserveLeased = kJetError;
    server.settings.reserveRecord = 3;
    server.settings.removeMismatch = kJetError;
    server.Run(R"(netsh dhcp server \\x scope 10.1.0.0 add reservedip
    20013  10.1.0.5 99; 10.1.0.9 05
    20022  10.1.0.6 99; 10.1.0.9 06                   # reserved, not just leased
    0      10.1.0.5 05
netsh dhcp server \\x scope 10.1.0.0 delete reservedip
    20013  10.1.0.6 99
)");
    server.settings.removeMismatch = 0;
    server.Run("netsh dhcp server \\\\x scope 10.1.0.0 delete reservedip\n    0 10.1.0.8 99");
    server.ExpectState(R"({"scopes": {"10.1.0.0": {"mask": "255.255.255.0",
            "reservations": {"10.1.0.5": {"mac": "05"}, "10.1.0.6": {"mac": "06"}}}},
        "clients": {"10.1.0.5": {"mac": "05"}, "10.1.0.6": {"mac": "06"}}})");
}

TEST(LabDhcpRules, ClientsAreListedPageByPage) {
    Server server(R"({"scopes": {"10.1.0.0": {"mask": "255.255.0.0"},
        "10.2.0.0": {"mask": "255.255.0.0"}, "10.3.0.0": {"mask": "255.255.0.0"}}})");
    const auto list = [&server](DWORD subnet, DWORD resume, DWORD bytes) {
        ClientPage page;
        const ServerRules rules(server.state, server.settings);
        std::string text = std::to_string(rules.EnumClients(subnet, resume, bytes, page));
        text += page.hasArray ? ":" : " none";
        for (const auto& found : page.clients)
            text += " " + Dotted(found.address);
        return text + " of " + std::to_string(page.total) + " to " + Dotted(page.resume);
    };
    EXPECT_EQ(list(kScope, 0, 0), "259 none of 0 to 0.0.0.0") << "no client anywhere";
    for (const DWORD address : {0x0A020009u, 0x0A02000Au, 0x0A0100C8u}) {
        Client client;
        client.hardware = {static_cast<char>(address)};
        server.state.PutClient(address, client);
    }
    EXPECT_EQ(list(0x0A030000, 0, 0), "0 none of 0 to 0.0.0.0") << "no client here";
    EXPECT_EQ(list(0x0A090000, 0, 0), "0: of 0 to 0.0.0.0") << "no such scope";
    EXPECT_EQ(list(0, 0, 0), "0: 10.1.0.200 10.2.0.9 10.2.0.10 of 3 to 0.0.0.0");
    EXPECT_EQ(list(0x0A020000, 8, 0), "20013 none of 0 to 0.0.0.0") << "on from one that went";
    server.settings.pageBytes = 178;  // 80 + 8 + 1 each
    EXPECT_EQ(list(0x0A020000, 0, 0), "0: 10.2.0.9 10.2.0.10 of 2 to 0.0.0.0");
    server.settings.pageBytes = 177;
    EXPECT_EQ(list(0x0A020000, 0, 0), "234: 10.2.0.9 of 2147483647 to 10.2.0.9");
    EXPECT_EQ(list(0x0A020000, 0x0A020009, 0), "0: 10.2.0.10 of 1 to 0.0.0.0");
}

TEST(LabDhcpState, WhatNoServerCanHoldIsRefused) {
    // Within a scope, behind it, and among the clients.
    const std::string scope = R"({"scopes": {"9.0.0.0": {"mask": "255.0.0.0")";
    std::istringstream members(R"("exlusions": {}
"range": {"first": "9.0.0.2", "last": "9.0.0.1"}
"exclusions": {"9.0.0.2": "9.0.0.1"}
"exclusions": {"9.0.0.2": "9.0.0.5", "9.0.0.5": "9.0.0.6"}
"options": {"3": [{"Ip": "1.1.1.1"}]}
"reservations": {"8.0.0.1": {"mac": "01"}}
"reservations": {"9.0.0.1": {"mac": "01"}, "9.0.0.2": {"mac": "01"}}
"reservations": {"9.0.0.1": {"types": 3}}
}, "9.1.0.0": {"mask": "255.255.0.0"
}, "8.0.0.1": {"mask": "255.0.0.0"
}}, "clients": {"10.0.0.5": {"mac": "01"}
}}, "clients": {"9.0.0.5": {"type": 1}
}}, "clients": {"9.0.0.5": {"mac": "01"}, "9.0.0.6": {"mac": "01"}
}}, "clients": {"9.0.0.5": {"mac": "01", "type": 256}
)");
    for (std::string member; std::getline(members, member);) {
        ServerState state;
        const char* const separator = member[0] == '}' ? "" : ", ";
        const char* const end = member.find("clients") == member.npos ? "}}}" : "}}";
        EXPECT_THROW(ReadSnapshot(scope + separator + member + end, state), std::runtime_error)
            << member;
    }
}

}  // namespace
}  // namespace lab
