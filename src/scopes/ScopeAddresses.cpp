// Finds the gateway's own addresses in the scopes and writes them to the store.

// winsock2.h must come before any windows.h.
#include <winsock2.h>
//
#include <iphlpapi.h>

#include <algorithm>
#include <boost/algorithm/string.hpp>
#include <iterator>

#include "diagtools/HResultCheck.h"
#include "scopes/DHCPSegmentInfoImpl.h"
#include "store/IPAddressString.h"
#include "win/Handles.h"
#include "win/RegistryText.h"
#include "win/RuntimeLibrary.h"

struct AdapterAddress {
    std::string address;  // dotted text, like the mask
    std::string mask;
};

/// A network adapter, from the system or from the gateway's registry.
struct Adapter {
    std::string displayName;  // description; the adapter's name if that is empty
    std::vector<AdapterAddress> addresses;
};

namespace {

constexpr char kTraceFile[] = "DHCPSegmentInfoImpl";

constexpr char kScopeIpInfo[] =  // scope id, address, mask
    "Scope IP information : Network ID [%s], IP [%s], Mask [%s]\n";

// Trace texts that are used in several places.
constexpr char kInterfaceFound[] = "Zeph-On interface found [%s]";       // name as read
constexpr char kAddressFound[] = "Ip Address [%s] Net Mask found [%s]";  // address, mask
constexpr char kKeyNotOpened[] = "Unable to open registry key [%s]";     // path
// Kept for compatibility, also for the address lists: log searches match this text.
constexpr char kNoInterfaceName[] = "Unable to get interface name for registry key [%s]";  // path

constexpr char kInterfacesKey[] = "SOFTWARE\\Vantrel\\Zephon\\Mode\\Interfaces\\";
constexpr char kInterfaceMarker[] = "zeph-on";
constexpr std::size_t kRegistryValueBytes = 4096;

bool IsGatewayInterface(const std::string& name) {
    return boost::algorithm::contains(boost::algorithm::to_lower_copy(name), kInterfaceMarker);
}

/// Opens an existing key under HKEY_LOCAL_MACHINE; returns null on failure.
RegKey OpenKey(const std::string& path) {
    HKEY key = nullptr;
    if (::RegOpenKeyExA(HKEY_LOCAL_MACHINE, path.c_str(), 0, kRegReadWrite, &key) != ERROR_SUCCESS)
        return nullptr;
    return RegKey(key);
}

class CIpHelper : public CRuntimeLibrary {
public:
    CIpHelper() : CRuntimeLibrary("iphlpapi.dll", kSystemLibrary) {}

    CEntry<DWORD(IP_ADAPTER_INFO* adapters, ULONG* bytes)> GetAdaptersInfo{*this,
                                                                           "GetAdaptersInfo"};
};

/// Maximum number of calls if adapters are added between them.
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

/// Appends the system's network adapters, in its order. Returns false if the IP Helper library is
/// missing or fails. A machine without adapters has an empty list.
bool GetAdapters(std::vector<Adapter>& adapters) {
    // Loaded once per process, because this is called for each scope.
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

}  // namespace

void CDHCPSegmentInfoImpl::SetDHCPIpInfo() {
    if (FAILED(Initialize()))
        return;
    DT_TRACE(kTraceDetail, "Retrieving Scopes list");
    TextList scopeNameList;
    GetScopesList(scopeNameList);
    for (std::size_t index = 0; index < scopeNameList.size(); ++index) {
        try {
            LOG_IF_FAILED(SetDHCPScopeIpInfo(scopeNameList[index]));
        }
        CATCH_RECORD()
    }
    Uninitialize();
}

HRESULT CDHCPSegmentInfoImpl::SetDHCPScopeIpInfo(const std::string& scopeId) {
    std::string scopeIpAddress;
    std::string scopeIpMask;
    RETURN_IF_FAILED(GetAdapterInfoForScope(scopeId, scopeIpAddress, scopeIpMask));
    if (IsDetailWanted(m_output))
        DisplayThrough(
            m_output,
            Format(kScopeIpInfo, scopeId.c_str(), scopeIpAddress.c_str(), scopeIpMask.c_str()),
            true);
    // Kept for compatibility: log searches match these names in the traced texts.
    const std::string scopeIpAddressString = "Address";
    const std::string scopeNetMaskString = "Mask";
    RETURN_IF_FAILED(m_storageAccess->put_Value(E_ZAKSTORAGE_PUBLIC, 0, scopesEntry,
                                                CComBSTR(scopeId.c_str()), CComBSTR(scopeIpAddressString.c_str()),
                                                CComVariant(scopeIpAddress.c_str())));
    RETURN_IF_FAILED(m_storageAccess->put_Value(E_ZAKSTORAGE_PUBLIC, 0, scopesEntry,
                                                CComBSTR(scopeId.c_str()), CComBSTR(scopeNetMaskString.c_str()),
                                                CComVariant(scopeIpMask.c_str())));
    return S_OK;
}

HRESULT CDHCPSegmentInfoImpl::GetAdapterInfoForScope(const std::string& scopeId,
                                                     std::string& address,
                                                     std::string& mask) const {
    return m_useRegistry ? GetAdapterInfoForScopeUsingRegistry(scopeId, address, mask)
                         : GetAdapterInfoForScopeUsingIpConf(scopeId, address, mask);
}

HRESULT CDHCPSegmentInfoImpl::GetAdapterInfoForScopeUsingIpConf(const std::string& scopeId,
                                                                std::string& address,
                                                                std::string& mask) {
    std::vector<Adapter> adapters;
    if (!GetAdapters(adapters)) {
        DT_TRACE(kTraceError, "%s is NULL", "ipConf");
        return E_POINTER;
    }
    // Kept for compatibility: log searches match "Zehp-On".
    DT_TRACE(kTraceRecord, "Searching for Network ID on Zehp-On interface [%s]", scopeId.c_str());
    for (const Adapter& adapter : adapters) {
        if (!IsGatewayInterface(adapter.displayName))
            continue;
        DT_TRACE(kTraceRecord, kInterfaceFound, adapter.displayName.c_str());
        if (SUCCEEDED(GetAdapterInfoForScope(adapter, scopeId, address, mask)))
            return S_OK;
    }
    return E_FAIL;
}

HRESULT CDHCPSegmentInfoImpl::GetAdapterInfoForScope(const Adapter& adapter,
                                                     const std::string& scopeId,
                                                     std::string& address, std::string& mask) {
    const std::uint32_t scopeNumber = AddressNumber(scopeId);
    for (const auto& [foundAddress, foundMask] : adapter.addresses) {
        DT_TRACE(kTraceRecord, kAddressFound, foundAddress.c_str(), foundMask.c_str());
        if (GetAdapterNetworkId(foundAddress, foundMask) != scopeNumber)
            continue;
        mask = foundMask;
        address = foundAddress;
        DT_TRACE(kTraceRecord, kAddressFound, address.c_str(), mask.c_str());
        return S_OK;
    }
    return E_FAIL;
}

HRESULT CDHCPSegmentInfoImpl::GetAdapterInfoForScopeUsingRegistry(const std::string& scopeId,
                                                                  std::string& address,
                                                                  std::string& mask) {
    const RegKey interfaces = OpenKey(kInterfacesKey);
    if (!interfaces) {
        DT_TRACE(kTraceError, kKeyNotOpened, kInterfacesKey);
        return E_FAIL;
    }
    char subkey[3 * 255 + 1];  // at most 255 UTF-16 units, of three bytes each in UTF-8
    for (DWORD index = 0;; ++index) {
        DWORD chars = static_cast<DWORD>(std::size(subkey));
        const LSTATUS error = ::RegEnumKeyExA(interfaces.get(), index, subkey, &chars, nullptr,
                                              nullptr, nullptr, nullptr);
        if (error != ERROR_SUCCESS && error != ERROR_NO_MORE_ITEMS)
            DT_TRACE(kTraceError, "Unable to list registry key [%s], error [%ld]", kInterfacesKey,
                     error);
        if (error != ERROR_SUCCESS)
            return E_FAIL;
        const std::string path = std::string(kInterfacesKey) + subkey;
        std::string name;
        if (FAILED(GetInterfaceName(path, name)) || !IsGatewayInterface(name))
            continue;
        DT_TRACE(kTraceRecord, kInterfaceFound, name.c_str());
        if (SUCCEEDED(GetAdapterInfoForScope(path, scopeId, address, mask)))
            return S_OK;
    }
}

HRESULT CDHCPSegmentInfoImpl::GetAdapterInfoForScope(const std::string& registryEntryLocation,
                                                     const std::string& scopeId,
                                                     std::string& address, std::string& mask) {
    TextList ipAddresses;
    TextList subnetMasks;
    RETURN_IF_FAILED(GetAdapterInterfaceAddresses(registryEntryLocation, ipAddresses));
    RETURN_IF_FAILED(GetAdapterInterfaceSubnetMasks(registryEntryLocation, subnetMasks));
    if (ipAddresses.size() != subnetMasks.size())
        return E_FAIL;
    Adapter adapter;
    for (std::size_t i = 0; i < ipAddresses.size(); ++i)
        adapter.addresses.push_back({ipAddresses[i], subnetMasks[i]});
    return GetAdapterInfoForScope(adapter, scopeId, address, mask);
}

std::uint32_t CDHCPSegmentInfoImpl::GetAdapterNetworkId(const std::string& address,
                                                        const std::string& mask) {
    const std::uint32_t networkId = NetworkAddress(AddressNumber(address), AddressNumber(mask));
    DT_TRACE(kTraceRecord, "Network ID [%s]", CIPAddressString(networkId).Text());
    return networkId;
}

HRESULT CDHCPSegmentInfoImpl::GetInterfaceName(const std::string& registryEntryLocation,
                                               std::string& name) {
    const RegKey key = OpenKey(registryEntryLocation);
    if (!key) {
        DT_TRACE(kTraceError, kKeyNotOpened, registryEntryLocation.c_str());
        return E_FAIL;
    }
    char text[kRegistryValueBytes];
    DWORD type = 0;
    if (!ReadRegistryText(key.get(), "Interface", text, type) || type == REG_MULTI_SZ) {
        DT_TRACE(kTraceError, kNoInterfaceName, registryEntryLocation.c_str());
        return E_FAIL;
    }
    name = text;
    return S_OK;
}

HRESULT CDHCPSegmentInfoImpl::GetAdapterInterfaceAddresses(const std::string& registryEntryLocation,
                                                           TextList& addresses) {
    return GetAdapterField(registryEntryLocation, "IPAddress", addresses);
}

HRESULT CDHCPSegmentInfoImpl::GetAdapterInterfaceSubnetMasks(
    const std::string& registryEntryLocation, TextList& masks) {
    return GetAdapterField(registryEntryLocation, "SubnetMask", masks);
}

HRESULT CDHCPSegmentInfoImpl::GetAdapterField(const std::string& registryEntryLocation,
                                              const char* valueName, TextList& texts) {
    const RegKey key = OpenKey(registryEntryLocation);
    if (!key) {
        DT_TRACE(kTraceError, kKeyNotOpened, registryEntryLocation.c_str());
        return E_FAIL;
    }
    char list[kRegistryValueBytes];
    DWORD type = 0;
    if (!ReadRegistryText(key.get(), valueName, list, type) || type != REG_MULTI_SZ) {
        DT_TRACE(kTraceError, kNoInterfaceName, registryEntryLocation.c_str());
        return E_FAIL;
    }
    for (const char* text = list; *text; text += texts.back().size() + 1)
        texts.emplace_back(text);
    return S_OK;
}
