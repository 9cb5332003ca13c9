// iphlpapi.dll: stand-in that answers GetAdaptersInfo from the list in DHCPLAB_ADAPTERS.
//
// Wine has an iphlpapi.dll of its own; it takes this one with WINEDLLOVERRIDES=iphlpapi=n,b.
#include <winsock2.h>

#include <windows.h>

#include <iphlpapi.h>

#include <cstdint>
#include <new>

#include "lab/adapters/AdapterList.h"
#include "lab/journal/Environment.h"
#include "lab/journal/FaultScript.h"
#include "lab/journal/Journal.h"

namespace {

const std::vector<lab::LabAdapter>& Adapters() {
    static const std::vector<lab::LabAdapter> adapters = [] {
        const std::wstring path = lab::EnvironmentText(L"DHCPLAB_ADAPTERS");
        std::vector<std::string> errors;
        auto list = lab::ReadAdapters(path.empty() ? std::string() : lab::FileText(path), errors);
        for (const std::string& error : errors)
            lab::JournalMisuse("adapters " + error);
        return list;
    }();
    return adapters;
}

void SetAddress(IP_ADDR_STRING& to, const std::pair<std::string, std::string>& from,
                DWORD context) {
    to = IP_ADDR_STRING{};
    from.first.copy(to.IpAddress.String, sizeof(to.IpAddress.String) - 1);
    from.second.copy(to.IpMask.String, sizeof(to.IpMask.String) - 1);
    to.Context = context;
}

/// All records first, then the addresses after the first of each adapter.
void Fill(IP_ADAPTER_INFO* records) {
    const auto& adapters = Adapters();
    auto* spare = reinterpret_cast<IP_ADDR_STRING*>(records + adapters.size());
    DWORD context = 0;
    for (std::size_t i = 0; i < adapters.size(); ++i) {
        const lab::LabAdapter& adapter = adapters[i];
        IP_ADAPTER_INFO& record = *new (&records[i]) IP_ADAPTER_INFO{};
        record.Next = i + 1 < adapters.size() ? &records[i + 1] : nullptr;
        adapter.name.copy(record.AdapterName, sizeof(record.AdapterName) - 1);
        adapter.description.copy(record.Description, sizeof(record.Description) - 1);
        record.Index = static_cast<DWORD>(i + 1);
        record.Type = MIB_IF_TYPE_ETHERNET;
        // The system shows an adapter without an address with this pair.
        SetAddress(record.IpAddressList, {"0.0.0.0", "0.0.0.0"}, 0);
        IP_ADDR_STRING* last = nullptr;
        for (const auto& address : adapter.addresses) {
            IP_ADDR_STRING* const place = last ? spare++ : &record.IpAddressList;
            SetAddress(*place, address, ++context);
            if (last)
                last->Next = place;
            last = place;
        }
    }
}

ULONG Answer(IP_ADAPTER_INFO* records, ULONG* bytes) {
    if (const auto fault = lab::FaultFor("GetAdaptersInfo"))
        return *fault;
    if (!bytes) {
        lab::JournalMisuse("GetAdaptersInfo without a size");
        return ERROR_INVALID_PARAMETER;
    }
    if (Adapters().empty())
        return ERROR_NO_DATA;
    std::size_t needed = 0;
    for (const lab::LabAdapter& adapter : Adapters()) {
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
