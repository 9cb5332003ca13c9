// iphlpapi.dll: stand-in whose GetAdaptersInfo returns the adapters listed in DHCPLAB_ADAPTERS.
// Under Wine set WINEDLLOVERRIDES=iphlpapi=n,b, because Wine has its own iphlpapi.dll.
#include <winsock2.h>

#include <windows.h>

#include <iphlpapi.h>

#include <new>
#include <regex>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "lab/journal/Environment.h"
#include "lab/journal/FaultScript.h"
#include "lab/journal/Journal.h"

namespace {

struct Adapter {
    std::string name;  // ANSI code page, like the description
    std::string description;
    std::vector<std::pair<std::string, std::string>> addresses;  // address and mask, dotted
};

std::string ToAnsi(const std::string& utf8) {
    const std::wstring wide = lab::FromUtf8(utf8);
    std::string ansi(wide.size() * 2, '\0');
    ansi.resize(static_cast<std::size_t>(
        ::WideCharToMultiByte(CP_ACP, 0, wide.data(), static_cast<int>(wide.size()), ansi.data(),
                              static_cast<int>(ansi.size()), nullptr, nullptr)));
    return ansi;
}

/// Reads the file; docs/lab.md describes its lines.
std::vector<Adapter> ReadAdapters() {
    static const std::regex kNothing(R"(\s*(#[^]*)?)");
    static const std::regex kAdapter(R"(\s*adapter\s+(\S[^\r]{0,254})\r?)");
    static const std::regex kDescription(R"(\s*description\s+([^\r]{0,126})\r?)");
    static const std::regex kAddress(R"(\s*address\s+(\S{1,15})\s+(\S{1,15})\s*)");
    const std::wstring path = lab::EnvironmentText(L"DHCPLAB_ADAPTERS");
    std::istringstream lines(path.empty() ? std::string() : lab::FileText(path));
    std::vector<Adapter> adapters;
    for (std::string line; std::getline(lines, line);) {
        std::smatch part;
        if (std::regex_match(line, part, kAdapter))
            adapters.push_back({ToAnsi(part[1]), {}, {}});
        else if (!adapters.empty() && std::regex_match(line, part, kDescription))
            adapters.back().description = ToAnsi(part[1]);
        else if (!adapters.empty() && std::regex_match(line, part, kAddress))
            adapters.back().addresses.emplace_back(part[1], part[2]);
        else if (!std::regex_match(line, kNothing))
            lab::JournalMisuse("adapters line not understood: " +
                               lab::Escape(std::string_view(line)));
    }
    return adapters;
}

const std::vector<Adapter>& Adapters() {
    static const std::vector<Adapter> adapters = ReadAdapters();
    return adapters;
}

/// Writes all records, and after them the second and further addresses of each adapter.
void Fill(IP_ADAPTER_INFO* records) {
    const auto& adapters = Adapters();
    auto* spare = reinterpret_cast<IP_ADDR_STRING*>(records + adapters.size());
    for (std::size_t i = 0; i < adapters.size(); ++i) {
        const Adapter& adapter = adapters[i];
        IP_ADAPTER_INFO& record = *new (&records[i]) IP_ADAPTER_INFO{};
        record.Next = i + 1 < adapters.size() ? &records[i + 1] : nullptr;
        adapter.name.copy(record.AdapterName, sizeof(record.AdapterName) - 1);
        adapter.description.copy(record.Description, sizeof(record.Description) - 1);
        record.Index = static_cast<DWORD>(i + 1);
        record.Type = MIB_IF_TYPE_ETHERNET;
        IP_ADDR_STRING* place = &record.IpAddressList;
        const auto set = [&place](const std::string& address, const std::string& mask) {
            address.copy(place->IpAddress.String, sizeof(place->IpAddress.String) - 1);
            mask.copy(place->IpMask.String, sizeof(place->IpMask.String) - 1);
        };
        if (adapter.addresses.empty())  // Windows shows this pair then
            set("0.0.0.0", "0.0.0.0");
        for (const auto& address : adapter.addresses) {
            if (&address != adapter.addresses.data()) {
                place->Next = new (spare++) IP_ADDR_STRING{};
                place = place->Next;
            }
            set(address.first, address.second);
        }
    }
}

ULONG Answer(IP_ADAPTER_INFO* records, ULONG* bytes) {
    if (const lab::Fault fault = lab::FaultFor("GetAdaptersInfo"); fault.code)
        return fault.code;
    if (!bytes) {
        lab::JournalMisuse("GetAdaptersInfo without a size");
        return ERROR_INVALID_PARAMETER;
    }
    if (Adapters().empty())
        return ERROR_NO_DATA;
    std::size_t needed = 0;
    for (const Adapter& adapter : Adapters()) {
        const std::size_t more = adapter.addresses.empty() ? 0 : adapter.addresses.size() - 1;
        needed += sizeof(IP_ADAPTER_INFO) + more * sizeof(IP_ADDR_STRING);
    }
    if (!records || *bytes < needed) {
        *bytes = static_cast<ULONG>(needed);
        return ERROR_BUFFER_OVERFLOW;
    }
    Fill(records);
    return ERROR_SUCCESS;
}

}  // namespace

/// Exported as GetAdaptersInfo; the system header declares that name for import.
extern "C" DWORD WINAPI LabGetAdaptersInfo(IP_ADAPTER_INFO* records, ULONG* bytes) {
    const std::string offered = bytes ? std::to_string(*bytes) : "null";
    const ULONG error = Answer(records, bytes);
    lab::Journal(
        "GetAdaptersInfo bytes=" + offered + " -> " + std::to_string(error) +
        (error == ERROR_BUFFER_OVERFLOW && bytes ? " bytes=" + std::to_string(*bytes) : ""));
    return error;
}
