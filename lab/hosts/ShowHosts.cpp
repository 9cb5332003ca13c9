// show_hosts: which address each host of a clients.csv gets from the stand-in server (docs/lab.md).
// Names are in the gateway's code page, and the console is set to it. 0 means no address.
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
    "show_hosts [--scopes SCOPES.CSV] [--log FILE] [--had SERVER.JSON]\n"
    "           [--lease | --lease-forgotten] SERVER.JSON CLIENTS.CSV [HOSTS.CSV]\n";

struct Host {
    std::string name;
    DWORD address;  // by CLIENTS.CSV
    DWORD uses;     // now
    Identifier hardware;
    std::string fault;  // why the server may not know it, as far as the files tell
};
using Fields = std::vector<std::string>;

std::string Read(const std::wstring& path) {
    std::string text = FileText(path);
    if (text.empty())
        throw std::runtime_error(ToUtf8(path) + ": cannot be read, or is empty");
    return text;
}

/// The lines that are not blank, behind the first `skipped`.
std::vector<Fields> ReadCsv(const std::wstring& path, int skipped) {
    std::vector<Fields> lines;
    std::istringstream text(Read(path));
    for (std::string line; std::getline(text, line);)
        if (!boost::all(line, boost::is_space()) && --skipped < 0) {
            boost::split(lines.emplace_back(), line, boost::is_any_of(","));
            for (std::string& field : lines.back())
                boost::trim(field);
        }
    return lines;
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

/// Takes from `macs` what it uses, and adds the DNS servers.
std::vector<Host> ReadHosts(const std::wstring& path, std::map<std::string, unsigned long>& codes,
                            std::map<std::string, Identifier>& macs, std::set<DWORD>& servers) {
    std::vector<Host> hosts;
    for (Fields& fields : ReadCsv(path, 1)) {
        if (fields[0][0] == '#' && fields.size() < 7)
            continue;
        for (; fields.size() > 7; fields.erase(fields.begin()))
            fields[1].insert(0, fields[0] + ", ");  // a name with a comma
        fields.resize(7);
        Host host{fields[0], AddressIn(fields[1]), AddressIn(fields[1]), ParseMac(fields[5]),
                  "no reservation and no lease under its MAC"};
        if (host.hardware.empty())  // unknown: the server does not know it either
            host.hardware = "host " + std::to_string(hosts.size());
        if (std::count(fields[5].begin(), fields[5].end(), '-') != 5)
            host.fault = "its MAC is not six pairs with dashes";
        if (const auto code = codes.find("IP Address [" + fields[1] + "]"); code != codes.end())
            host.fault = "refused with code " + std::to_string(code->second);
        const auto own = macs.find(macs.count(fields[1]) ? fields[1] : fields[0]);
        if (own != macs.end() && !own->second.empty()) {
            host.hardware = own->second;
            macs.erase(own);
        }
        for (const std::string& server : {fields[3], fields[4]})
            servers.insert(AddressIn(server));
        hosts.push_back(std::move(host));
    }
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
    std::size_t kept = 0, none = 0, wrong = 0;
    std::string lines;
    for (const Host& host : hosts) {
        const std::string reason = Reason(host, leasing);
        std::wstring name(host.name.size() + 1, L'\0');
        ::MultiByteToWideChar(CP_ACP, 0, host.name.c_str(), -1, name.data(),
                              static_cast<int>(name.size()));
        const DWORD got =
            leasing.Ask(host.address, remember ? host.uses : 0, host.hardware, name.c_str());
        const char* const whose = got && servers.count(got) ? " (a DNS server's or gateway's)" : "";
        none += got == 0;
        kept += got != 0 && got == host.address;
        wrong += got != host.address && *whose;
        if (got == 0 || got != host.address)
            lines += "  " + host.name + ", " + Dotted(host.address) + " -> " +
                     (got ? Dotted(got) : "none") + whose + ": " + reason + "\n";
    }
    std::printf(
        "%zu of %zu hosts keep their address if they %s it; %zu get another one (%zu that of a "
        "DNS server or gateway), %zu none.\n%s",
        kept, hosts.size(), remember ? "remember" : "have forgotten", hosts.size() - kept - none,
        wrong, none, lines.c_str());
}

void Run(const std::vector<std::wstring>& words) {
    static const std::set<std::wstring> kFlags{L"--lease", L"--lease-forgotten"};
    static const std::set<std::wstring> kWithFile{L"--scopes", L"--log", L"--had"};
    std::map<std::wstring, std::vector<std::wstring>> options;  // the files by ""
    for (std::size_t i = 0; i < words.size(); ++i) {
        const bool hasFile = kWithFile.count(words[i]) && i + 1 < words.size();
        const std::wstring option = hasFile || kFlags.count(words[i]) ? words[i] : L"";
        options[option].push_back(words[i += hasFile]);
    }
    const auto& files = options[L""];
    if (files.size() < 2 || files.size() > 3)
        throw std::runtime_error(kUsage);
    ServerState state, before;
    ReadSnapshot(Read(files[0]), state);
    for (const std::wstring& had : options[L"--had"])
        ReadSnapshot(Read(had), before);
    std::map<std::string, unsigned long> codes;
    for (const std::wstring& path : options[L"--log"])
        for (const Fields& fields : ReadCsv(path, 0))
            if (fields.size() > 6 && boost::contains(fields.back(), "Failed with error ["))
                codes[fields[fields.size() - 6]] =
                    std::stoul(fields.back().substr(fields.back().rfind('[') + 1));
    std::map<std::string, Identifier> macs;
    for (const Fields& fields : files.size() == 3 ? ReadCsv(files[2], 0) : std::vector<Fields>())
        macs[fields[0]] = ParseMac(fields.back());
    std::set<DWORD> servers;
    for (const std::wstring& scopes : options[L"--scopes"])
        for (const Fields& fields : ReadCsv(scopes, 1))
            servers.insert(fields.size() < 2 ? 0 : AddressIn(fields[1]));
    std::vector<Host> hosts = ReadHosts(files[1], codes, macs, servers);
    if (!macs.empty())
        throw std::runtime_error(ToUtf8(files[2]) +
                                 ": no other host, or no MAC: " + macs.begin()->first);
    for (Host& host : hosts)
        if (const auto* const scope = before.ScopeOf(host.address)) {
            const DWORD* const leased =
                before.AddressOfClient(UniqueId(scope->first, host.hardware));
            host.uses = leased ? *leased : 0;
        }
    ULARGE_INTEGER now;
    ::GetSystemTimeAsFileTime(reinterpret_cast<FILETIME*>(&now));
    const Leasing untouched(state, now.QuadPart);
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
    const UINT codePage = ::GetConsoleOutputCP();
    ::SetConsoleOutputCP(::GetACP());
    int result = 0;
    try {
        lab::Run({argv + 1, argv + argc});
    } catch (const std::exception& error) {
        std::fprintf(stderr, "show_hosts: %s\n", error.what());
        result = 1;
    }
    ::SetConsoleOutputCP(codePage);
    return result;
}
