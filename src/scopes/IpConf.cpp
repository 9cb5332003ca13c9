// winsock2.h has to come before any windows.h.
#include <winsock2.h>
//
#include <iphlpapi.h>

#include <algorithm>

#include "diagtools/RuntimeLibrary.h"
#include "scopes/IpConf.h"

namespace {

using GetAdaptersInfoFn = DWORD WINAPI(IP_ADAPTER_INFO* adapters, ULONG* bytes);
constexpr const char* kEntryNames[] = {"GetAdaptersInfo"};

/// How often the system is asked when adapters come while it answers.
constexpr int kMaxTries = 8;

template <std::size_t N>
std::string TextOf(const char (&text)[N]) {
    return std::string(text, std::find(text, text + N, '\0'));
}

Adapter ToAdapter(const IP_ADAPTER_INFO& info) {
    Adapter adapter;
    adapter.displayName = TextOf(info.Description);
    if (adapter.displayName.empty())
        adapter.displayName = TextOf(info.AdapterName);
    for (const IP_ADDR_STRING* entry = &info.IpAddressList; entry; entry = entry->Next)
        adapter.addresses.push_back(
            {TextOf(entry->IpAddress.String), TextOf(entry->IpMask.String)});
    return adapter;
}

}  // namespace

std::unique_ptr<CIpConf> CIpConf::Take() {
    // Held until the process ends: a run looks at the adapters once for each scope.
    static DiagTools::CRuntimeLibrary<1> library("iphlpapi.dll", DiagTools::kSystemLibrary,
                                                 kEntryNames);
    if (library.Load() != ERROR_SUCCESS)
        return nullptr;
    auto* const getAdaptersInfo = library.Entry<GetAdaptersInfoFn>(0);
    std::vector<IP_ADAPTER_INFO> buffer(16);
    DWORD error = ERROR_BUFFER_OVERFLOW;
    for (int tries = 0; error == ERROR_BUFFER_OVERFLOW && tries < kMaxTries; ++tries) {
        ULONG bytes = static_cast<ULONG>(buffer.size() * sizeof(IP_ADAPTER_INFO));
        error = getAdaptersInfo(buffer.data(), &bytes);
        if (error == ERROR_BUFFER_OVERFLOW)
            buffer.resize(bytes / sizeof(IP_ADAPTER_INFO) + 1);
    }
    if (error != ERROR_SUCCESS && error != ERROR_NO_DATA)
        return nullptr;
    std::unique_ptr<CIpConf> snapshot(new CIpConf);
    if (error == ERROR_SUCCESS)
        for (const IP_ADAPTER_INFO* info = buffer.data(); info; info = info->Next)
            snapshot->m_adapters.push_back(ToAdapter(*info));
    return snapshot;
}
