// Rules of the DHCP server and of netsh that no scenario covers.
#include <gtest/gtest.h>

#include <iomanip>
#include <sstream>

#include "lab/dhcpserver/StateJson.h"
#include "lab/journal/Text.h"
#include "lab/netsh/NetshCommand.h"

namespace lab {
namespace {

/// Runs a netsh command and returns the first word of its result. ' quotes, as " does in cmd.
std::string Answer(ServerState& state, const std::string& call) {
    std::istringstream text(call);
    std::vector<std::wstring> words;
    for (std::string word; text >> std::quoted(word, '\'');)
        words.push_back(FromUtf8(word));
    const auto command = ParseNetsh(words);
    const std::string result = command ? command->run(state).result : "unknown";
    return result.substr(0, result.find(' '));
}

/// A line without indentation is the beginning of a command. Each indented line below it is a
/// result and the arguments that must give it, separated by semicolons.
void RunScript(ServerState& state, const char* script) {
    std::istringstream lines(script);
    std::string command;
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind(' ', 0) != 0) {
            command = line + " ";
            continue;
        }
        std::istringstream calls(line);
        std::string answer;
        calls >> answer;
        for (std::string arguments; std::getline(calls, arguments, ';');)
            EXPECT_EQ(Answer(state, command + arguments), answer) << command << arguments;
    }
}

TEST(LabDhcpRules, CommandsOfNetsh) {
    ServerState state;
    ReadSnapshot(R"({"scopes": {
        "10.1.0.0": {"mask": "255.255.255.0", "range": {"first": "10.1.0.10", "last": "10.1.0.30"},
                     "exclusions": {"10.1.0.20": "10.1.0.29"},
                     "reservations": {"10.1.0.6": {"mac": "06"}, "10.1.0.9": {"mac": "09"}}},
        "10.8.0.0": {"mask": "255.255.255.0", "state": 1,
                     "range": {"first": "10.8.0.5", "last": "10.8.0.9"}}},
      "clients": {"10.1.0.5": {"mac": "05", "expires": 5}, "10.1.0.6": {"mac": "06"},
                  "10.1.0.7": {"mac": "07", "expires": 5}, "10.1.0.11": {"mac": "11"}}})",
                 state);
    RunScript(state, R"(dhcp server 10.0.0.2 scope 10.1.0.0 add iprange
    20023  10.1.0.15 10.1.0.40; 10.1.0.40 10.1.0.50; 10.1.0.9 10.1.1.30
    0      10.1.0.9 10.1.0.31; 10.1.0.12 10.1.0.28
dhcp server 10.0.0.2 scope 10.8.0.0 add iprange
    20023  10.8.0.5 10.8.0.99
dhcp server 10.0.0.2 scope 10.1.0.0 add excluderange
    20023  10.1.0.29 10.1.0.35; 10.1.0.15 10.1.0.20; 10.1.0.22 10.1.0.23
dhcp server 10.0.0.2 scope 10.1.0.0 set optionvalue
    usage  51 DWORD; 51 DWORD 4294967296; 3 STRING x; 3 IPADDRESS 10.1.0.01
    20010  80 IPADDRESS 10.1.0.1
dhcp server 10.0.0.2 add scope
    usage  10.3.0.0 255.255.0.0 Main LAN Office; 10.3.0.0 255.255.0.0; 010.3.0.0 255.255.0.0 a
dhcp server
    1722     \\dhcp1 add scope 10.3.0.0 255.255.0.0 a
    unknown  dhcp1 add scope 10.3.0.0 255.255.0.0 a; 10.0.0.2 scope 10.1.0.0 add scope
    no       10.0.0.2 scope 10.7.0.0 add iprange 10.7.0.1 10.7.0.2
dhcp server 10.0.0.2 scope 10.1.0.0 add reservedip
    20022  10.1.0.7 99; 10.1.0.8 07
    0      10.1.0.7 07
    usage  10.1.0.8 0e a b c; 10.1.0.8 00-1A; 10.1.0.8 001; 10.1.0.8 ''; 10.1.0.8
dhcp server 10.0.0.2 scope 10.1.0.0 delete reservedip
    20013  10.1.0.30 30; 10.1.0.9 09
    20019  10.1.0.6 99
    0      10.1.0.6 0000010a0106; 10.1.0.7 07; 10.1.0.11 99
)");
    state.addresses = {L"Gateway"};
    RunScript(state,
              "dhcp server\n    1722 10.0.0.2 add scope 10.3.0.0 255.255.0.0 a\n"
              "    0 \\\\GATEWAY add scope 10.3.0.0 255.255.0.0 a");
    EXPECT_EQ(state.Clients().size(), 2U);  // only those with a lease
    EXPECT_GT(state.FindClient(0x0A010007)->expires, 5U);
}

}  // namespace
}  // namespace lab
