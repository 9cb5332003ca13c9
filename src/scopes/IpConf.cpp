// winsock2.h has to come before any windows.h.
#include <winsock2.h>
//
#include <iphlpapi.h>

#include <algorithm>

#include "scopes/IpConf.h"
#include "win/RuntimeLibrary.h"

namespace {

class CIpHelper : public CRuntimeLibrary {
public:
    CIpHelper() : CRuntimeLibrary("iphlpapi.dll", kSystemLibrary) {}

    CEntry<DWORD(IP_ADAPTER_INFO* adapters, ULONG* bytes)> GetAdaptersInfo{*this,
                                                                           "GetAdaptersInfo"};
};

/// How often the system is asked again because adapters came while it answered.
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

bool GetAdapters(AdapterList& adapters) {
    // Held until the process ends: a run asks once per scope.
    static CIpHelper helper;
    std::vector<IP_ADAPTER_INFO> buffer(16);
    DWORD error = ERROR_BUFFER_OVERFLOW;
    for (int tries = 0; error == ERROR_BUFFER_OVERFLOW && tries < kMaxTries; ++tries) {
        ULONG bytes = static_cast<ULONG>(buffer.size() * sizeof(IP_ADAPTER_INFO));
        error = helper.GetAdaptersInfo(buffer.data(), &bytes);
        if (error == ERROR_BUFFER_OVERFLOW)
            buffer.resize(bytes / sizeof(IP_ADAPTER_INFO) + 1);
    }
    if (error == ERROR_NO_DATA)
        return true;
    if (error != ERROR_SUCCESS)
        return false;
    for (const IP_ADAPTER_INFO* info = buffer.data(); info; info = info->Next)
        adapters.push_back(ToAdapter(*info));
    return true;
}
