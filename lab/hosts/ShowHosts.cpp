// show_hosts: what each host of a clients.csv gets from the stand-in server.
#include <windows.h>

#include <algorithm>
#include <boost/algorithm/string.hpp>
#include <cstdio>
#include <set>
#include <sstream>
#include <stdexcept>

#include "lab/dhcpserver/StateJson.h"
#include "lab/hosts/Leasing.h"
#include "lab/journal/Environment.h"
#include "lab/journal/Text.h"

namespace lab {
namespace {

constexpr char kUsage[] =
    "show_hosts [OPTION...] SERVER.JSON CLIENTS.CSV [HOSTS.CSV]\n"
    "What the hosts of CLIENTS.CSV get from the server whose state is SERVER.JSON. HOSTS.CSV has\n"
    "their own MACs where CLIENTS.CSV has others: lines of a name or address, a comma and a MAC.\n"
    "  --scopes FILE      scopes.csv: tells when a host gets a gateway's address\n"
    "  --log FILE         log of -l or -a: tells which hosts the server refused\n"
    "  --had FILE         hosts use and ask for what this state has leased to them\n"
    "  --lease            write what the hosts get into SERVER.JSON\n"
    "  --lease-forgotten  the same for hosts that have forgotten their address";

struct Host {
    std::wstring name;
    std::optional<DWORD> address;  // by CLIENTS.CSV
    std::optional<DWORD> uses;     // now
    Identifier hardware;
    std::string fault;  // why the server may lack it, as far as files tell
};
using Fields = std::vector<std::wstring>;

std::string Read(const std::wstring& path) {
    std::string text = FileText(path);
    if (text.empty())
        throw std::runtime_error(ToUtf8(path) + ": cannot be read, or is empty");
    return text;
}

/// From the gateway's code page; a blank line has one empty field.
std::vector<Fields> ReadCsv(const std::wstring& path) {
    const std::string bytes = Read(path);
    const int size = static_cast<int>(bytes.size());
    std::wstring text(bytes.size(), L'\0');
    text.resize(static_cast<std::size_t>(
        ::MultiByteToWideChar(CP_ACP, 0, bytes.c_str(), size, text.data(), size)));
    std::vector<Fields> lines;
    std::wistringstream stream(text);
    for (std::wstring line; std::getline(stream, line);) {
        boost::split(lines.emplace_back(), line, [](wchar_t c) { return c == L','; });
        for (std::wstring& field : lines.back())
            boost::trim(field);
    }
    return lines;
}

/// The bytes of a MAC with dashes, colons or nothing between them; a group may be one digit.
Identifier ParseMac(std::wstring text) {
    std::wstring digits;
    std::replace(text.begin(), text.end(), L':', L'-');
    std::wistringstream groups(text);
    for (std::wstring group; std::getline(groups, group, L'-');)
        digits += (group.size() % 2 ? L"0" : L"") + group;
    return ParseHexBytes(digits).value_or(Identifier());
}

std::vector<Host> ReadHosts(const std::wstring& path, std::set<DWORD>& servers) {
    std::vector<Host> hosts;
    const std::vector<Fields> lines = ReadCsv(path);
    for (std::size_t i = 1; i < lines.size(); ++i) {
        const bool isComment = boost::starts_with(lines[i][0], L"#");
        if (lines[i] == Fields{L""} || (isComment && lines[i].size() < 7))
            continue;
        Fields fields = lines[i];
        for (; fields.size() > 7; fields.erase(fields.begin()))
            fields[1].insert(0, fields[0] + L", ");  // a comma in the name
        fields.resize(7);
        Host host{fields[0], ParseAddress(fields[1]), {}, ParseMac(fields[5]), ""};
        if (isComment || lines[i].size() != 7)
            host.fault = "its line begins with # or has not seven fields";
        else if (std::count(fields[5].begin(), fields[5].end(), L'-') != 5)
            host.fault = "its MAC is not six pairs with dashes";
        if (host.hardware.empty())  // unknown: the server does not know it either
            host.hardware = "host " + std::to_string(i);
        host.uses = host.address;
        hosts.push_back(std::move(host));
        for (const auto& server : {fields[3], fields[4]})
            servers.insert(ParseAddress(server).value_or(0));
    }
    return hosts;
}

void ReadOwnMacs(const std::wstring& path, std::vector<Host>& hosts) {
    std::map<std::wstring, Identifier> macs;
    for (const Fields& fields : ReadCsv(path))
        if (fields != Fields{L""})
            macs[fields[0]] = ParseMac(fields.back());
    for (Host& host : hosts)
        for (const auto& key : {FromUtf8(Dotted(host.address.value_or(0))), host.name})
            if (const auto own = macs.find(key); own != macs.end() && !own->second.empty()) {
                host.hardware = own->second;
                macs.erase(own);
                break;
            }
    if (!macs.empty())
        throw std::runtime_error(ToUtf8(path) + ": no host, two hosts, or no MAC for " +
                                 ToUtf8(macs.begin()->first));
}

void ReadRefused(const std::wstring& path, std::vector<Host>& hosts) {
    std::map<std::string, std::string> codes;
    std::istringstream log(Read(path));
    for (std::string line; std::getline(log, line);) {
        const auto ip = line.find("IP Address ["), code = line.rfind("Failed with error [");
        if (boost::starts_with(line, "Client to add") && ip < code && code != line.npos)
            codes[line.substr(ip + 12, line.find(']', ip) - ip - 12)] =
                line.substr(code + 19, line.find(']', code) - code - 19);
    }
    for (Host& host : hosts)
        if (const auto code = codes.find(Dotted(host.address.value_or(0))); code != codes.end())
            host.fault = "refused with code " + code->second;
}

/// What keeps the host from its address.
std::string Reason(const Host& host, const Leasing& leasing) {
    const ServerState& state = leasing.State();
    const auto* const scope = host.address ? state.ScopeOf(*host.address) : nullptr;
    if (!scope || scope->second.state != 0)
        return scope ? "its scope is disabled" : "no scope on the server has its address";
    const DWORD* own = state.ReservedAddress(scope->first, host.hardware);
    own = own ? own : state.AddressOfClient(UniqueId(scope->first, host.hardware));
    std::string reason = own ? "the server has " + Dotted(*own) + " for its MAC" : host.fault;
    if (reason.empty())
        reason = "no reservation and no lease under its MAC";
    const auto reserved = scope->second.reservations.find(*host.address);
    const Client* const holder = state.FindClient(*host.address);
    if (reserved != scope->second.reservations.end() && reserved->second.hardware != host.hardware)
        return reason + "; its address is reserved for " + HexBytes(reserved->second.hardware, "-");
    if (leasing.IsFree(*host.address) || own)
        return reason;
    return reason + (holder ? "; its address is leased to " + HexBytes(holder->hardware, "-")
                            : "; its address is excluded, or outside of the range");
}

/// UTF-8 to the console's code page.
void Print(const std::string& text) {
    const std::wstring wide = FromUtf8(text);
    const int size = static_cast<int>(wide.size());
    std::string narrow(text.size(), '\0');  // no code page needs more
    narrow.resize(static_cast<std::size_t>(
        ::WideCharToMultiByte(::GetConsoleOutputCP(), 0, wide.c_str(), size, narrow.data(),
                              static_cast<int>(narrow.size()), nullptr, nullptr)));
    std::fwrite(narrow.data(), 1, narrow.size(), stdout);
}

/// Lets all hosts ask, and shows those that do not get their address.
void ShowAnswers(const std::vector<Host>& hosts, bool remember, const std::set<DWORD>& servers,
                 Leasing& leasing) {
    std::size_t kept = 0, none = 0, wrong = 0;
    std::string lines;
    for (const Host& host : hosts) {
        const std::string reason = Reason(host, leasing);
        const auto* const scope = leasing.State().ScopeOf(host.address.value_or(0));
        const auto got = leasing.Ask(scope ? scope->first : 0, host.hardware,
                                     remember ? host.uses : std::nullopt, host.name);
        if (got && got == host.address) {
            ++kept;
            continue;
        }
        const bool isServers = got && servers.count(*got);
        none += !got;
        wrong += isServers;
        lines += "  " + ToUtf8(host.name) + ", " + Dotted(host.address.value_or(0)) + " -> " +
                 (got ? Dotted(*got) : "none") +
                 (isServers ? " (a DNS server's or gateway's)" : "") + ": " + reason + "\n";
    }
    std::printf(
        "Hosts that %s their address: %zu of %zu keep it, %zu get another one, %zu none%s\n",
        remember ? "remember" : "have forgotten", kept, hosts.size(), hosts.size() - kept - none,
        none, lines.empty() ? "." : ":");
    Print(lines);
    if (wrong != 0)
        std::printf("%zu get the address of a DNS server or gateway.\n", wrong);
}

void ShowFree(const std::vector<Host>& hosts, const Leasing& leasing) {
    std::size_t count = 0;
    std::string lines;
    for (const Host& host : hosts)
        if (host.uses && leasing.IsFree(*host.uses) && ++count)
            lines += "  " + ToUtf8(host.name) + ", " + Dotted(*host.uses) + "\n";
    std::printf("Addresses in use that any other host could get: %zu%s\n", count,
                count ? ":" : ".");
    Print(lines);
}

int Main(int argc, wchar_t** argv) {
    std::map<std::wstring, std::vector<std::wstring>> options;
    std::vector<std::wstring> files;
    for (int i = 1; i < argc; ++i) {
        const std::wstring word = argv[i];
        if (!boost::starts_with(word, L"--"))
            files.push_back(word);
        else if (boost::starts_with(word, L"--lease"))
            options[word];
        else if (i + 1 < argc)
            options[word].push_back(argv[++i]);
    }
    if (files.size() < 2 || files.size() > 3)
        throw std::runtime_error(kUsage);
    ServerState state;
    ReadSnapshot(Read(files[0]), state);
    std::set<DWORD> servers;
    std::vector<Host> hosts = ReadHosts(files[1], servers);
    if (files.size() == 3)
        ReadOwnMacs(files[2], hosts);
    for (const auto& path : options[L"--scopes"])
        for (const Fields& fields : ReadCsv(path))
            servers.insert(fields.size() < 2 ? 0 : ParseAddress(fields[1]).value_or(0));
    for (const auto& path : options[L"--log"])
        ReadRefused(path, hosts);
    for (const auto& path : options[L"--had"]) {
        ServerState before;
        ReadSnapshot(Read(path), before);
        for (Host& host : hosts) {
            const auto* const scope = before.ScopeOf(host.address.value_or(0));
            const DWORD* const leased =
                scope ? before.AddressOfClient(UniqueId(scope->first, host.hardware)) : nullptr;
            host.uses = leased ? std::optional<DWORD>(*leased) : std::nullopt;
        }
    }
    FILETIME now;
    ::GetSystemTimeAsFileTime(&now);
    const ULONGLONG ticks = static_cast<ULONGLONG>(now.dwHighDateTime) << 32 | now.dwLowDateTime;
    for (const bool remember : {true, false}) {
        Leasing leasing(state, ticks);
        ShowAnswers(hosts, remember, servers, leasing);
        if (options.count(remember ? L"--lease" : L"--lease-forgotten") &&
            !ReplaceFile(files[0], SnapshotText(leasing.State())))
            throw std::runtime_error(ToUtf8(files[0]) + ": cannot be written");
    }
    ShowFree(hosts, Leasing(state, ticks));
    return 0;
}

}  // namespace
}  // namespace lab

int wmain(int argc, wchar_t** argv) {
    try {
        return lab::Main(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "show_hosts: %s\n", error.what());
        return 1;
    }
}
