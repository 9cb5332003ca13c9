// winsock2.h has to come before any windows.h.
#include <winsock2.h>
//
#include <iphlpapi.h>

#include <cstring>

#include "scopes/IpConf.h"

namespace {

using GetAdaptersInfoFn = DWORD WINAPI(IP_ADAPTER_INFO* adapters, ULONG* bytes);

/// Adapters may come while the answer is being fetched; then it is asked for again this often.
constexpr int kMaxTries = 8;

struct LibraryFree {
    using pointer = HMODULE;
    void operator()(HMODULE library) const noexcept { ::FreeLibrary(library); }
};

template <std::size_t N>
void CopyAddress(char (&to)[N], const char (&from)[N]) {
    std::memcpy(to, from, N);
    to[N - 1] = '\0';
}

Adapter ToAdapter(const IP_ADAPTER_INFO& info) {
    Adapter adapter;
    adapter.displayName = info.Description[0] ? info.Description : info.AdapterName;
    for (const IP_ADDR_STRING* entry = &info.IpAddressList; entry; entry = entry->Next) {
        AdapterAddress address;
        CopyAddress(address.address, entry->IpAddress.String);
        CopyAddress(address.mask, entry->IpMask.String);
        adapter.addresses.push_back(address);
    }
    return adapter;
}

}  // namespace

std::unique_ptr<CIpConf> CIpConf::Take() {
    const std::unique_ptr<HMODULE, LibraryFree> library(::LoadLibraryA("iphlpapi.dll"));
    if (!library)
        return nullptr;
    const auto getAdaptersInfo = reinterpret_cast<GetAdaptersInfoFn*>(
        reinterpret_cast<void*>(::GetProcAddress(library.get(), "GetAdaptersInfo")));
    if (!getAdaptersInfo)
        return nullptr;
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
