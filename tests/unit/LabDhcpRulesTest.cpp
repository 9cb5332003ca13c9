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
                EXPECT_EQ(Answer(command + arguments.insert(0, 1, ' ')), answer);
        }
    }
    void ExpectState(const char* json) const {
        ServerState expected;
        ReadSnapshot(json, expected);
        EXPECT_EQ(SnapshotText(state), SnapshotText(expected));
    }

    ServerState state;
    ServerSettings settings;

private:
    /// ' stands for a quotation mark.
    std::string Answer(const std::string& call) {
        std::istringstream text(call);
        std::vector<std::wstring> words;
        for (std::string word; text >> std::quoted(word, '\'');)
            words.push_back(FromUtf8(word));
        const auto command = NetshCommand::Parse(words, settings);
        const auto clock = [] { return 1000ULL; };
        const std::string result =
            command ? command->Run(state, settings, clock).result : "unknown";
        return result.substr(0, result.find(' '));
    }
};

TEST(LabDhcpRules, ScopesAndWhatIsInThem) {
    Server server(R"({"server": {"addresses": ["10.0.0.2", "Gateway"]}, "scopes": {
        "10.8.0.0": {"mask": "255.255.255.0", "state": 1, "range": {"first": "10.8.0.5", "last": "10.8.0.9"}},
        "10.9.0.0": {"mask": "255.255.255.0"}}})");
    server.Run(R"(DHCP Server 10.0.0.2 Add Scope
    0      10.1.0.0 255.255.255.0 'Main LAN' Office; 11.0.0.0 255.0.255.0 a
    87     0.0.0.0 255.255.0.0 a; 10.1.2.3 255.255.255.0 a  # no network, host bits
    20052  10.1.0.0 255.255.255.0 a; 10.1.0.128 255.255.255.128 a; 10.0.0.0 255.0.0.0 a  # overlap
    usage  10.3.0.0 255.255.0.0 Main LAN Office; 10.3.0.0 255.255.0.0  # a word too many, too few
    usage  10.3.0 255.255.0.0 a; 10.3.0.0 16 a; 10.3.0.00 255.255.0.0 a; 010.3.0.0 255.255.0.0 a
dhcp server \\GATEWAY scope 10.1.0.0 add iprange
    20023  10.1.0.9 10.1.0.8; 10.1.0.1 10.1.1.1; 10.0.255.255 10.1.0.9  # backwards, leaving it
    0      10.1.0.10 10.1.0.30; 10.1.0.10 10.1.0.20   # a scope has one: narrowed
    20021  10.1.0.10 10.1.0.20
    20023  10.1.0.15 10.1.0.25; 10.1.0.40 10.1.0.50   # shifted, apart
    0      10.1.0.0 10.1.0.255                        # the subnet's own addresses count, too
dhcp server 10.0.0.2 scope 10.8.0.0 add iprange
    20023  10.8.0.5 10.8.0.99                         # the scope is disabled
dhcp server 10.0.0.2 scope 10.9.0.0 add excluderange
    0      10.9.0.20 10.9.0.29                        # no range is needed
    20023  10.9.0.9 10.9.0.8; 10.9.0.29 10.9.0.35; 10.9.0.15 10.9.0.20; 10.9.0.22 10.9.0.23
    0      10.9.0.30 10.9.0.30                        # next to it
dhcp server 10.0.0.2 scope 10.9.0.0 set optionvalue
    0      51 dword 7; 51 DWORD 691199; 3 IPADDRESS 10.9.0.1  # replaced
    usage  51 DWORD; 51 DWORD -1; 51 DWORD 4294967296; 3 STRING x; 3 IPADDRESS 10.9.0.01
    20010  80 IPADDRESS 10.9.0.1                      # not defined
dhcp server
    1722   10.0.0.3 add scope 10.3.0.0 255.255.0.0 a; \\other add scope 10.3.0.0 255.255.0.0 a
    unknown  gateway add scope 10.3.0.0 255.255.0.0 a; scope 10.1.0.0 add scope
    no     10.0.0.2 scope 10.7.0.0 add iprange 10.7.0.1 10.7.0.2; \\gateway scope x add iprange a b
)");
    server.settings.netshBareNames = 1;
    server.Run("dhcp server gateway scope 10.1.0.0 add iprange\n    20021 10.1.0.0 10.1.0.255");
    server.ExpectState(R"({"server": {"addresses": ["10.0.0.2", "Gateway"]}, "scopes": {
        "10.1.0.0": {"mask": "255.255.255.0", "name": "Main LAN", "comment": "Office",
                     "range": {"first": "10.1.0.0", "last": "10.1.0.255"}},
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
                     "reservations": {"10.2.0.9": {"mac": "09"}}}},
      "clients": {"10.1.0.5": {"mac": "00", "expires": 5}, "10.1.0.7": {"mac": "07", "expires": 777},
        "10.1.0.8": {"mac": "08", "expires": 777}, "10.1.0.11": {"mac": "11", "expires": 5},
        "10.2.0.5": {"mac": "00", "expires": 5}}})");
    server.Run(R"(dhcp server \\x scope 10.1.0.0 add reservedip
    20018  10.2.0.6 06                                # outside of the subnet
    0      10.1.0.6 0aBB Front Desk; 10.1.0.12 12     # no range is needed
    20022  10.1.0.6 0acc; 10.1.0.9 0abb               # address, hardware address reserved already
    20022  10.1.0.7 09; 10.1.0.9 07                   # leased to another; its lease is elsewhere
    0      10.1.0.7 07; 10.1.0.8 08                   # its own lease, which stays as it is
    usage  10.1.0.9 0e a b c; 10.1.0.9 00:1A; 10.1.0.9 00-1A; 10.1.0.9 001; 10.1.0.9 ''; 10.1.0.9
dhcp server \\x scope 10.2.0.0 add reservedip
    0      10.2.0.6 0abb dhcp '' DHCP; 10.2.0.5 00    # the hardware address in another scope
dhcp server \\x scope 10.1.0.0 delete reservedip
    20013  10.1.0.30 30                               # neither reservation nor lease
    0      10.1.0.11 99                               # a lease is deleted, whoever asks
    20019  10.1.0.12 99                               # the reservation of another one
    0      10.1.0.12 0000010a0112                     # by the long identifier; its record goes, too
    0      10.1.0.7 07                                # the lease stays, for the default lease time
dhcp server \\x scope 10.2.0.0 delete reservedip
    0      10.2.0.5 00                                # the lease stays, by the scope's lease time
    20013  10.2.0.9 09                                # had no record; the reservation is gone
)");
    // What documents leave open.
    server.settings.reserveLeased = server.settings.removeMismatch = kJetError;
    server.settings.reserveRecord = 3;
    server.Run(R"(dhcp server \\x scope 10.1.0.0 add reservedip
    20013  10.1.0.5 99; 10.1.0.9 07                   # leased
    20022  10.1.0.6 99; 10.1.0.9 0abb                 # reserved
    0      10.1.0.5 00                                # its expiry goes
dhcp server \\x scope 10.1.0.0 delete reservedip
    20013  10.1.0.6 99
)");
    server.settings.removeMismatch = 0;
    server.Run("dhcp server \\\\x scope 10.1.0.0 delete reservedip\n    0 10.1.0.8 99");
    server.ExpectState(R"({"scopes": {
        "10.1.0.0": {"mask": "255.255.255.0",
            "reservations": {"10.1.0.5": {"mac": "00"}, "10.1.0.6": {"mac": "0a-bb"}}},
        "10.2.0.0": {"mask": "255.255.255.0", "options": {"51": [{"dword": 5}]},
            "reservations": {"10.2.0.6": {"mac": "0a-bb", "types": 1}}}},
      "clients": {
        "10.1.0.5": {"mac": "00"}, "10.1.0.7": {"mac": "07", "expires": 6912000001000},
        "10.1.0.6": {"mac": "0a-bb", "name": "Front", "comment": "Desk", "ownerName": "DHCPLAB"},
        "10.1.0.8": {"mac": "08", "expires": 6912000001000},
        "10.2.0.5": {"mac": "00", "expires": 50001000},
        "10.2.0.6": {"mac": "0a-bb", "name": "dhcp", "comment": "", "ownerName": "DHCPLAB"}}})");
}

}  // namespace
}  // namespace lab
