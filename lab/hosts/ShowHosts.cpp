// show_hosts: which address each host of a clients.csv gets from the stand-in server (docs/lab.md).
// Names are in the gateway's code page. The address 0 means none.
#include <windows.h>

#include <boost/algorithm/string.hpp>
#include <cstdio>
#include <regex>
#include <set>
#include <sstream>
#include <stdexcept>

#include "lab/dhcpserver/StateFile.h"
#include "lab/dhcpserver/StateJson.h"
#include "lab/hosts/Leasing.h"
#include "lab/journal/Environment.h"
#include "lab/journal/Text.h"

namespace lab {
namespace {

constexpr char kNothingRead[] = ": cannot be read, or is empty";
constexpr std::size_t kMaxLine = 4096;  // std::regex needs stack for each character

using Fields = std::vector<std::string>;
using Options = std::map<std::wstring, std::vector<std::wstring>>;  // the files by ""
struct Host {
    std::string name;
    DWORD address, uses;  // by CLIENTS.CSV, and now
    Identifier hardware;
    std::string fault;  // why the server may not know it, as far as the logs tell
};

/// The groups of the lines that the pattern matches, behind the first `skipped` lines.
std::vector<Fields> ReadLines(const std::wstring& path, int skipped, const char* pattern) {
    std::istringstream text(FileText(path));
    if (text.peek() == EOF)
        throw std::runtime_error(ToUtf8(path) + kNothingRead);
    std::vector<Fields> lines;
    const std::regex expression(pattern);
    std::smatch match;
    for (std::string line; std::getline(text, line);) {
        if (line.size() > kMaxLine)
            throw std::runtime_error(ToUtf8(path) + ": a line is too long");
        if (--skipped < 0 && std::regex_search(line, match, expression))
            for (std::string& group : lines.emplace_back(match.begin(), match.end()))
                boost::trim(group);
    }
    return lines;
}

ServerState ReadState(const std::wstring& path) {
    ServerState state;
    if (!ReadSnapshotFile(path, state))
        throw std::runtime_error(ToUtf8(path) + kNothingRead);
    return state;
}

DWORD AddressIn(const std::string& text) {
    return ParseAddress(FromUtf8(text)).value_or(0);
}

/// The bytes of a MAC with dashes, colons or nothing between them; a group may be one digit.
Identifier ParseMac(const std::string& text) {
    Fields groups;
    std::string digits;
    for (const std::string& group : boost::split(groups, text, boost::is_any_of("-:")))
        digits += (group.size() % 2 ? "0" : "") + group;
    return ParseHexBytes(FromUtf8(digits)).value_or(Identifier());
}

/// The hosts of CLIENTS.CSV. Adds their DNS servers.
std::vector<Host> ReadHosts(Options& options, std::set<DWORD>& servers) {
    std::map<std::string, std::string> faults;
    for (const std::wstring& path : options[L"--log"])
        for (const Fields& fields :
             ReadLines(path, 0, R"(IP Address \[([^\]]*)\].*Failed with error \[(\d+))"))
            faults[fields[1]] = "refused with code " + fields[2];
    std::map<std::string, Identifier> macs;
    for (std::size_t i = 2; i < options[L""].size(); ++i)
        for (const Fields& fields : ReadLines(options[L""][i], 0, "^(.*),([^,]*)$"))
            macs[fields[ParseMac(fields[2]).empty() ? 0 : 1]] = ParseMac(fields[2]);
    std::vector<Host> hosts;
    const std::regex sixPairs("([0-9A-Fa-f]{2}-){5}[0-9A-Fa-f]{2}");
    // A name may have commas. A line with too few fields is a host as well, unless it is a comment.
    constexpr char kLine[] =
        R"(^(.*),([^,]*),([^,]*),([^,]*),([^,]*),([^,]*),[^,]*$|^(?!\s*#)(.*\S.*)$)";
    for (const Fields& fields : ReadLines(options[L""][1], 1, kLine)) {
        const DWORD address = AddressIn(fields[2]);
        const bool six = std::regex_match(fields[6], sixPairs);
        const char* const fault = six ? "no reservation and no lease under its MAC"
                                      : "its MAC is not six pairs with dashes";
        Host host{fields[1] + fields[7], address, address, ParseMac(fields[6]),
                  faults.emplace(fields[2], fault).first->second};
        if (host.hardware.empty())  // unknown: the server does not know it either
            host.hardware = "host " + std::to_string(hosts.size());
        if (const auto own = macs.extract(macs.count(fields[2]) ? fields[2] : fields[1]))
            host.hardware = own.mapped();
        servers.insert({AddressIn(fields[4]), AddressIn(fields[5])});
        hosts.push_back(std::move(host));
    }
    if (!macs.empty())
        throw std::runtime_error("no other host, or no MAC: " + macs.begin()->first);
    return hosts;
}

/// Why the host does not get its address.
std::string Reason(const Host& host, const Leasing& leasing) {
    const ServerState& state = leasing.State();
    const auto* const scope = state.ScopeOf(host.address);
    if (!scope)
        return "no scope of the server has its address";
    const DWORD* own = state.ReservedAddress(scope->first, host.hardware);
    own = own ? own : state.AddressOfClient(UniqueId(scope->first, host.hardware));
    std::string text = own ? "the server has " + Dotted(*own) + " for its MAC" : host.fault;
    const auto reserved = scope->second.reservations.find(host.address);
    const Client* const holder = state.FindClient(host.address);
    if (reserved != scope->second.reservations.end() && reserved->second.hardware != host.hardware)
        text += "; its address is reserved for " + HexBytes(reserved->second.hardware, "-");
    else if (holder && holder->hardware != host.hardware && !leasing.IsFree(host.address))
        text += "; its address is leased to " + HexBytes(holder->hardware, "-");
    return text;
}

/// Lets all hosts ask, and shows those that do not get their address.
void ShowAnswers(const std::vector<Host>& hosts, const std::set<DWORD>& servers, bool remember,
                 Leasing& leasing) {
    std::size_t others = 0, none = 0, wrong = 0;
    std::string lines;
    for (const Host& host : hosts) {
        const std::string reason = Reason(host, leasing);
        std::wstring name(host.name.size() + 1, L'\0');
        ::MultiByteToWideChar(CP_ACP, 0, host.name.c_str(), -1, name.data(),
                              static_cast<int>(name.size()));
        const DWORD got =
            leasing.Ask(host.address, remember ? host.uses : 0, host.hardware, name.c_str());
        if (got != 0 && got == host.address)
            continue;
        const bool isServers = got != 0 && servers.count(got);
        ++(got ? others : none);
        wrong += isServers;
        lines += "  " + host.name + ", " + Dotted(host.address) + " -> " +
                 (got ? Dotted(got) : "none") +
                 (isServers ? " (a DNS server's or gateway's): " : ": ") + reason + "\n";
    }
    std::printf(
        "%zu of %zu hosts keep their address if they %s it; %zu get another one (%zu that of a "
        "DNS server or gateway), %zu none.\n%s",
        hosts.size() - others - none, hosts.size(), remember ? "remember" : "have forgotten",
        others, wrong, none, lines.c_str());
}

void Run(const std::vector<std::wstring>& words) {
    static const std::set<std::wstring> kFlags{L"--lease", L"--lease-forgotten"};
    static const std::set<std::wstring> kWithFile{L"--scopes", L"--log", L"--had"};
    Options options;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const bool hasFile = kWithFile.count(words[i]) && i + 1 < words.size();
        const std::wstring option = hasFile || kFlags.count(words[i]) ? words[i] : L"";
        options[option].push_back(words[i += hasFile]);
    }
    const auto& files = options[L""];
    if (files.size() < 2 || files.size() > 3)
        throw std::runtime_error("[OPTION...] SERVER.JSON CLIENTS.CSV [HOSTS.CSV] (docs/lab.md)");
    const ServerState state = ReadState(files[0]);
    ServerState before;
    for (const std::wstring& path : options[L"--had"])
        before = ReadState(path);
    std::set<DWORD> servers;
    for (const std::wstring& path : options[L"--scopes"])
        for (const Fields& fields : ReadLines(path, 1, ",([^,]*)"))
            servers.insert(AddressIn(fields[1]));
    std::vector<Host> hosts = ReadHosts(options, servers);
    for (Host& host : hosts)
        if (const auto* const scope = before.ScopeOf(host.address)) {
            const DWORD* leased = before.AddressOfClient(UniqueId(scope->first, host.hardware));
            host.uses = leased ? *leased : 0;
        }
    const Leasing untouched(state, Now());
    for (const bool remember : {true, false}) {
        Leasing leasing = untouched;
        ShowAnswers(hosts, servers, remember, leasing);
        if (options.count(remember ? L"--lease" : L"--lease-forgotten") &&
            !ReplaceFile(files[0], SnapshotText(leasing.State())))
            throw std::runtime_error(ToUtf8(files[0]) + ": cannot be written");
    }
    std::size_t count = 0;
    std::string lines;
    for (const Host& host : hosts)
        if (untouched.IsFree(host.uses) && ++count)
            lines += "  " + host.name + ", " + Dotted(host.uses) + "\n";
    std::printf("%zu addresses in use are free for any other host.\n%s", count, lines.c_str());
}

}  // namespace
}  // namespace lab

int wmain(int argc, wchar_t** argv) {
    try {
        lab::Run({argv + 1, argv + argc});
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "show_hosts: %s\n", error.what());
        return 1;
    }
}
