#include "scopes/DHCPSegmentInfoImpl.h"

#include <boost/algorithm/string.hpp>
#include <exception>
#include <fstream>
#include <iterator>
#include <memory>

#include "clients/CsvFile.h"
#include "dhcpserver/AddressRange.h"
#include "dhcpserver/DHCPManager.h"
#include "diagtools/HResultCheck.h"
#include "driver/output/FormatText.h"
#include "driver/output/ResultTexts.h"
#include "store/IPAddressString.h"
#include "store/RegistryText.h"
#include "store/StoreFields.h"
#include "store/TextConversion.h"

namespace {

constexpr char kTraceFile[] = "DHCPSegmentInfoImpl";

constexpr char kCsvHeader[] = "Scope Name, IP Address, NetMask, Network ID, Description\n\n";
constexpr char kCsvLine[] = "%s, %s, %s, %s,\n";  // name, address, mask, scope id
constexpr char kScopeFound[] =                    // name, address, mask, scope id
    "Scope found : Name [%s], IP Address [%s], NetMask [%s], Scope [%s]\n";
constexpr char kScopeToAdd[] =  // name, address, mask, scope id, comment
    "Scope to add in DHCP server : Name [%s], IP Address [%s], NetMask [%s], Scope [%s], Comments "
    "[%s] -> ";
constexpr char kScopeIpInfo[] =  // scope id, address, mask
    "Scope IP information : Network ID [%s], IP [%s], Mask [%s]\n";

// The fields of a CSV line. What follows the fifth is not read.
enum CsvField : std::size_t { kName, kAddress, kMask, kNetworkId, kDescription, kFieldCount };

// Trace lines of more than one operation, or of more than one place.
constexpr char kRetrievingList[] = "Retrieving Scopes list";
constexpr char kInterfaceFound[] = "Zeph-On interface found [%s]";       // name as read
constexpr char kAddressFound[] = "Ip Address [%s] Net Mask found [%s]";  // address, mask
constexpr char kKeyNotOpened[] = "Unable to open registry key [%s]";     // path
// Also said of the address lists: kept as released for log searches.
constexpr char kNoInterfaceName[] = "Unable to get interface name for registry key [%s]";  // path

constexpr char kInterfacesKey[] = "SOFTWARE\\Vantrel\\Zephon\\Mode\\Interfaces\\";
constexpr char kInterfaceMarker[] = "zeph-on";
constexpr std::size_t kRegistryValueBytes = 4096;

const std::string scopeIpAddressString = "Address";
const std::string scopeNetMaskString = "Mask";

// The gateway's entry for its DHCP server. "dchp" in a name below is part of the traced texts.
const std::string configSection = "Config";
const std::string dhcpServerSection = "Server";
const std::string dhcpDefaultScope = "DefaultDHCP";
const std::string dhcpDefaultScopeValue = "Default";
const std::string dhcpServersSection = "DHCPServers";
const std::string dhcpNameEntry = "Name";
const std::string dhcpIpAddressEntry = "Address";

constexpr StoreField kScopeFields[] = {
    {L"Name", VT_BSTR, "scopeName.ChangeType(VT_BSTR)"},
    {L"Address", VT_BSTR, "scopeIP.ChangeType(VT_BSTR)"},
    {L"Mask", VT_BSTR, "scopeNetMask.ChangeType(VT_BSTR)"},
};

constexpr char kDynamicLabel[] = "Dynamic";

bool IsGatewayInterface(const std::string& name) {
    return boost::algorithm::contains(boost::algorithm::to_lower_copy(name), kInterfaceMarker);
}

/// Opens a key under HKEY_LOCAL_MACHINE without creating it; null when that fails.
RegKey OpenKey(const std::string& path) {
    HKEY key = nullptr;
    if (::RegOpenKeyExA(HKEY_LOCAL_MACHINE, path.c_str(), 0, kRegReadWrite, &key) != ERROR_SUCCESS)
        return nullptr;
    return RegKey(key);
}

/// The host name up to its first ".".
std::string FirstLabel(const std::string& hostName) {
    return hostName.substr(0, hostName.find('.'));
}

}  // namespace

CDHCPSegmentInfoImpl::CDHCPSegmentInfoImpl(const Output& output) : m_output(output) {}

CDHCPSegmentInfoImpl::CDHCPSegmentInfoImpl(const Output& output, bool useRegistry)
    : m_useRegistry(useRegistry), m_output(output) {}

CDHCPSegmentInfoImpl::CDHCPSegmentInfoImpl(const Output& output, std::uint32_t leaseSeconds,
                                           const NetshWriter& netshCommands, bool useRegistry)
    : m_useRegistry(useRegistry),
      m_output(output),
      m_leaseDuration(leaseSeconds),
      m_netshCommands(netshCommands) {}

CDHCPSegmentInfoImpl::CDHCPSegmentInfoImpl(const Output& output, const std::string& dhcpServer,
                                           std::uint32_t leaseSeconds)
    : m_dhcpServer(dhcpServer), m_output(output), m_leaseDuration(leaseSeconds) {}

CDHCPSegmentInfoImpl::CDHCPSegmentInfoImpl(const Output& output, const std::string& dhcpServer,
                                           const NetshWriter& netshCommands)
    : m_dhcpServer(dhcpServer), m_output(output), m_netshCommands(netshCommands) {}

// Export

void CDHCPSegmentInfoImpl::GetDHCPInfo(const std::string& fileName) {
    if (FAILED(Initialize()))
        return;
    std::ofstream file(fileName, std::ios::out | std::ios::trunc);
    if (file.is_open()) {
        file << kCsvHeader;
        DT_TRACE(DiagTools::kTraceDetail, kRetrievingList);
        TextList scopeIds;
        if (SUCCEEDED(GetScopesList(scopeIds))) {
            for (const std::string& scopeId : scopeIds) {
                std::string line;
                CONTAIN_EXCEPTIONS(if (SUCCEEDED(GetDHCPScopeInfo(scopeId, line))) file << line);
            }
        }
        file.close();
        if (!file)
            DT_TRACE(DiagTools::kTraceError, "Unable to write output file [%s]", fileName.c_str());
    }
    Uninitialize();
}

HRESULT CDHCPSegmentInfoImpl::GetScopesList(TextList& scopeIds) {
    CComVariant scopeArray;
    RETURN_IF_FAILED(m_storageAccess->Enumerate(E_ZAKSTORAGE_PUBLIC, 0, scopesEntry, 0, &scopeArray));
    if (!IsArrayOfVariants(scopeArray))
        return S_OK;
    DT_TRACE(DiagTools::kTraceDetail, "Scope list retrieved successfully");
    for (const VARIANT& scopeId : ArrayView(scopeArray))
        if (scopeId.vt == VT_BSTR)
            scopeIds.push_back(NarrowText(scopeId.bstrVal));
    return S_OK;
}

HRESULT CDHCPSegmentInfoImpl::GetDHCPScopeInfo(const std::string& scopeId, std::string& line) {
    CComVariant scopeInfoArray;
    RETURN_IF_FAILED(m_storageAccess->EnumerateWithValue(E_ZAKSTORAGE_PUBLIC, 0, scopesEntry,
                                                         CComBSTR(scopeId.c_str()), 0, &scopeInfoArray));
    if (!IsArrayOfVariants(scopeInfoArray))
        return S_OK;
    DT_TRACE(DiagTools::kTraceDetail, "Information for scope [%s] retrieved successfully",
             scopeId.c_str());
    CComVariant values[std::size(kScopeFields)];
    const StoreFailure failure = ReadFields(
        ArrayView(scopeInfoArray), "scopeInfoPropName.ChangeType(VT_BSTR)", kScopeFields, values);
    RETURN_IF_FAILED_AS(failure.text, failure.hr);
    const std::string name = values[kName].Narrow();
    std::string adapterIpAddressString = values[kAddress].Narrow();
    std::string netMaskString = values[kMask].Narrow();

    LOG_IF_FAILED(GetAdapterInfoForScope(scopeId, adapterIpAddressString, netMaskString));
    if (adapterIpAddressString.empty() || netMaskString.empty()) {
        DT_TRACE(DiagTools::kTraceError, "No IP or mask for scope [%s]", scopeId.c_str());
        return E_FAIL;
    }
    line = FormatText(kCsvLine, name, adapterIpAddressString, netMaskString, scopeId);
    DisplayThrough(m_output,
                   FormatText(kScopeFound, name, adapterIpAddressString, netMaskString, scopeId),
                   true);
    if (m_netshCommands)
        m_netshCommands->AddScopeCommands(name, scopeId, adapterIpAddressString, netMaskString, "",
                                          m_leaseDuration);
    return S_OK;
}

// Import

void CDHCPSegmentInfoImpl::SetDHCPInfo(const std::string& fileName) {
    DT_TRACE(DiagTools::kTraceDetail, "Setting DHCP Scope info on DHCP server");
    ForEachCsvEntry(fileName, [this](const std::string& streamBuf) {
        CONTAIN_EXCEPTIONS(LOG_IF_FAILED(SetDHCPScopeInfo(streamBuf.c_str())));
    });
}

HRESULT CDHCPSegmentInfoImpl::SetDHCPScopeInfo(const std::string& line) {
    DT_TRACE(DiagTools::kTraceDetail, "Setting DHCP Scope info on DHCP server for entry [%s]",
             line.c_str());
    TextList fields = SplitCsvFields(line);
    if (fields.size() < kFieldCount) {
        DT_TRACE(DiagTools::kTraceError,
                 "Invalid DHCP Scope entry. Missing some fields for entry [%s]", line.c_str());
        return E_FAIL;
    }
    for (std::size_t i = 0; i < fields.size(); ++i) {
        TrimCsvField(fields[i]);
        DT_TRACE(DiagTools::kTraceRecord, "scopeEntryValues[%u] is [%s]",
                 static_cast<unsigned int>(i), fields[i].c_str());
    }
    const std::string progress =
        FormatText(kScopeToAdd, fields[kName], fields[kAddress], fields[kMask], fields[kNetworkId],
                   fields[kDescription]);
    // Not FAILED(): the server's codes are positive numbers.
    const HRESULT result = AddScope(fields);
    if (result == S_OK) {
        DisplayThrough(m_output, progress + kRecordDone, true);
        return S_OK;
    }
    DisplayThrough(m_output,
                   progress + FormatText(kRecordFailed, static_cast<unsigned long>(result)), false);
    return E_FAIL;
}

HRESULT CDHCPSegmentInfoImpl::AddScope(const TextList& fields) {
    CDHCPManager manager(m_dhcpServer);
    DWORD error = manager.CreateSubnet(fields[kName], fields[kNetworkId], fields[kMask],
                                       fields[kDescription]);
    if (error == ERROR_SUCCESS) {
        // Deliberately lenient: a scope whose range can't be computed still gets the rest.
        try {
            error = manager.SetupIPRange(fields[kNetworkId], fields[kMask]);
        } catch (const std::exception&) {
            DT_TRACE(DiagTools::kTraceError, "IP Range is invalid [%s]", fields[kMask].c_str());
        }
    }
    if (error == ERROR_SUCCESS)
        error = manager.CreateExclusion(fields[kNetworkId], fields[kAddress]);
    if (error == ERROR_SUCCESS)
        error = manager.SetRouterOption(fields[kNetworkId], fields[kAddress]);
    if (error == ERROR_SUCCESS)
        error = manager.SetLeaseDuration(fields[kNetworkId], m_leaseDuration);
    return static_cast<HRESULT>(error);
}

// Addresses of the scopes

void CDHCPSegmentInfoImpl::SetDHCPIpInfo() {
    if (FAILED(Initialize()))
        return;
    DT_TRACE(DiagTools::kTraceDetail, kRetrievingList);
    TextList scopeNameList;
    GetScopesList(scopeNameList);
    for (std::size_t index = 0; index < scopeNameList.size(); ++index)
        CONTAIN_EXCEPTIONS(LOG_IF_FAILED(SetDHCPScopeIpInfo(scopeNameList[index])));
    Uninitialize();
}

HRESULT CDHCPSegmentInfoImpl::SetDHCPScopeIpInfo(const std::string& scopeId) {
    std::string scopeIpAddress;
    std::string scopeIpMask;
    RETURN_IF_FAILED(GetAdapterInfoForScope(scopeId, scopeIpAddress, scopeIpMask));
    DisplayThrough(m_output, FormatText(kScopeIpInfo, scopeId, scopeIpAddress, scopeIpMask), true);
    RETURN_IF_FAILED(m_storageAccess->put_Value(E_ZAKSTORAGE_PUBLIC, 0, scopesEntry,
                                                CComBSTR(scopeId.c_str()), CComBSTR(scopeIpAddressString.c_str()),
                                                CComVariant(scopeIpAddress.c_str())));
    RETURN_IF_FAILED(m_storageAccess->put_Value(E_ZAKSTORAGE_PUBLIC, 0, scopesEntry,
                                                CComBSTR(scopeId.c_str()), CComBSTR(scopeNetMaskString.c_str()),
                                                CComVariant(scopeIpMask.c_str())));
    return S_OK;
}

HRESULT CDHCPSegmentInfoImpl::GetAdapterInfoForScope(const std::string& scopeId,
                                                     std::string& address, std::string& mask) {
    return m_useRegistry ? GetAdapterInfoForScopeUsingRegistry(scopeId, address, mask)
                         : GetAdapterInfoForScopeUsingIpConf(scopeId, address, mask);
}

HRESULT CDHCPSegmentInfoImpl::GetAdapterInfoForScopeUsingIpConf(const std::string& scopeId,
                                                                std::string& address,
                                                                std::string& mask) {
    const std::unique_ptr<CIpConf> ipConf = CIpConf::Take();
    if (!ipConf) {
        DT_TRACE(DiagTools::kTraceError, "%s is NULL", "ipConf");
        return E_POINTER;
    }
    // "Zehp-On" is kept as released: log searches match it.
    DT_TRACE(DiagTools::kTraceRecord, "Searching for Network ID on Zehp-On interface [%s]",
             scopeId.c_str());
    for (const Adapter& adapter : ipConf->Adapters()) {
        if (!IsGatewayInterface(adapter.displayName))
            continue;
        DT_TRACE(DiagTools::kTraceRecord, kInterfaceFound, adapter.displayName.c_str());
        if (SUCCEEDED(GetAdapterInfoForScope(adapter, scopeId, address, mask)))
            return S_OK;
    }
    return E_FAIL;
}

HRESULT CDHCPSegmentInfoImpl::GetAdapterInfoForScope(const Adapter& adapter,
                                                     const std::string& scopeId,
                                                     std::string& address, std::string& mask) {
    const std::uint32_t scopeNumber = CIPAddressString(scopeId).Number();
    for (const AdapterAddress& found : adapter.addresses)
        if (GetAdapterInfoForScope(found.address, found.mask, scopeNumber, address, mask))
            return S_OK;
    return E_FAIL;
}

HRESULT CDHCPSegmentInfoImpl::GetAdapterInfoForScopeUsingRegistry(const std::string& scopeId,
                                                                  std::string& address,
                                                                  std::string& mask) {
    const RegKey interfaces = OpenKey(kInterfacesKey);
    if (!interfaces) {
        DT_TRACE(DiagTools::kTraceError, kKeyNotOpened, kInterfacesKey);
        return E_FAIL;
    }
    char subkey[3 * 255 + 1];  // at most 255 UTF-16 units, of three bytes each in UTF-8
    for (DWORD index = 0;; ++index) {
        DWORD chars = static_cast<DWORD>(std::size(subkey));
        if (::RegEnumKeyExA(interfaces.get(), index, subkey, &chars, nullptr, nullptr, nullptr,
                            nullptr) != ERROR_SUCCESS)
            return E_FAIL;
        const std::string path = std::string(kInterfacesKey) + subkey;
        std::string name;
        if (FAILED(GetInterfaceName(path, name)) || !IsGatewayInterface(name))
            continue;
        DT_TRACE(DiagTools::kTraceRecord, kInterfaceFound, name.c_str());
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
    const std::uint32_t scopeNumber = CIPAddressString(scopeId).Number();
    for (std::size_t i = 0; i < ipAddresses.size(); ++i)
        if (GetAdapterInfoForScope(ipAddresses[i], subnetMasks[i], scopeNumber, address, mask))
            return S_OK;
    return E_FAIL;
}

bool CDHCPSegmentInfoImpl::GetAdapterInfoForScope(const std::string& foundAddress,
                                                  const std::string& foundMask,
                                                  std::uint32_t scopeNumber, std::string& address,
                                                  std::string& mask) {
    DT_TRACE(DiagTools::kTraceRecord, kAddressFound, foundAddress.c_str(), foundMask.c_str());
    if (GetAdapterNetworkId(foundAddress, foundMask) != scopeNumber)
        return false;
    mask = foundMask;
    address = foundAddress;
    DT_TRACE(DiagTools::kTraceRecord, kAddressFound, address.c_str(), mask.c_str());
    return true;
}

std::uint32_t CDHCPSegmentInfoImpl::GetAdapterNetworkId(const std::string& address,
                                                        const std::string& mask) {
    const std::uint32_t networkId =
        NetworkAddress(CIPAddressString(address).Number(), CIPAddressString(mask).Number());
    DT_TRACE(DiagTools::kTraceRecord, "Network ID [%s]", CIPAddressString(networkId).Text());
    return networkId;
}

HRESULT CDHCPSegmentInfoImpl::GetInterfaceName(const std::string& registryEntryLocation,
                                               std::string& name) {
    const RegKey key = OpenKey(registryEntryLocation);
    if (!key) {
        DT_TRACE(DiagTools::kTraceError, kKeyNotOpened, registryEntryLocation.c_str());
        return E_FAIL;
    }
    char text[kRegistryValueBytes];
    DWORD type = 0;
    if (!ReadRegistryText(key.get(), "Interface", text, type) || type == REG_MULTI_SZ) {
        DT_TRACE(DiagTools::kTraceError, kNoInterfaceName, registryEntryLocation.c_str());
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
        DT_TRACE(DiagTools::kTraceError, kKeyNotOpened, registryEntryLocation.c_str());
        return E_FAIL;
    }
    char list[kRegistryValueBytes];
    DWORD type = 0;
    if (!ReadRegistryText(key.get(), valueName, list, type) || type != REG_MULTI_SZ) {
        DT_TRACE(DiagTools::kTraceError, kNoInterfaceName, registryEntryLocation.c_str());
        return E_FAIL;
    }
    for (const char* text = list; *text; text += texts.back().size() + 1)
        texts.emplace_back(text);
    return S_OK;
}

// The DHCP server's address

void CDHCPSegmentInfoImpl::SetDHCPIpAddress(const std::string& dchpServerIpAddress) {
    if (FAILED(Initialize()))
        return;
    LOG_IF_FAILED(m_storageAccess->put_Value(E_ZAKSTORAGE_PUBLIC, 0, CComBSTR(configSection.c_str()),
                                             CComBSTR(dhcpServerSection.c_str()), CComBSTR(dhcpDefaultScope.c_str()),
                                             CComVariant(dhcpDefaultScopeValue.c_str())));
    LOG_IF_FAILED(m_storageAccess->put_Value(E_ZAKSTORAGE_PUBLIC, 0, CComBSTR(dhcpServersSection.c_str()),
                                             CComBSTR(dchpServerIpAddress.c_str()), CComBSTR(dhcpNameEntry.c_str()),
                                             CComVariant(dhcpDefaultScopeValue.c_str())));
    LOG_IF_FAILED(m_storageAccess->put_Value(E_ZAKSTORAGE_PUBLIC, 0, CComBSTR(dhcpServersSection.c_str()),
                                             CComBSTR(dchpServerIpAddress.c_str()), CComBSTR(dhcpIpAddressEntry.c_str()),
                                             CComVariant(dchpServerIpAddress.c_str())));
    Uninitialize();
}

// Dynamic clients to reservations

HRESULT CDHCPSegmentInfoImpl::ChangeDynamicToReserved(const std::string& scopeId) {
    CDHCPManager manager(m_dhcpServer);
    ClientList clients;
    const DWORD error = manager.GetDynamicClientInfo(scopeId, clients);
    if (error != ERROR_SUCCESS) {
        DT_TRACE(DiagTools::kTraceError,
                 "Unable to get DHCP client info from server [%s] due to error [%lu]",
                 m_dhcpServer.c_str(), error);
        return static_cast<HRESULT>(error);
    }
    const HRESULT result = ChangeAllDynamicToReserved(scopeId, clients);
    if (result != S_OK)
        DT_TRACE(DiagTools::kTraceError,
                 "Unable to change to reserved on server [%s] due to error [%lu]",
                 m_dhcpServer.c_str(), static_cast<unsigned long>(result));
    return result;
}

HRESULT CDHCPSegmentInfoImpl::ChangeAllDynamicToReserved(const std::string& scopeId,
                                                         const ClientList& clients) {
    CDHCPManager manager(m_dhcpServer);
    DT_TRACE(DiagTools::kTraceDetail, "Processing [%lu] clients for scope [%s]",
             static_cast<unsigned long>(clients.size()), scopeId.c_str());
    DynamicClients dynamicClients;
    for (const auto& client : clients)
        if (client->GetClientType() == CLIENT_TYPE_DHCP)
            dynamicClients.emplace(boost::algorithm::to_upper_copy(FirstLabel(client->GetName())),
                                   client.get());

    const DWORD scopeNumber = CIPAddressString(scopeId).Number();
    // A removal that fails does not stop the re-creation.
    const auto remove = [&](const HardwareAddress& hardwareAddress, DWORD address) {
        const DWORD failed = manager.RemoveClient(hardwareAddress, address, scopeNumber);
        if (failed != ERROR_SUCCESS)
            DT_TRACE(DiagTools::kTraceError,
                     "Unable to remove client [%s] from Scope [%s] due to error [%lu]",
                     CIPAddressString(address).Text(), scopeId.c_str(), failed);
    };
    DWORD error = ERROR_SUCCESS;
    for (const auto& client : clients) {
        if (client->GetClientType() != CLIENT_TYPE_NONE)
            continue;
        const CDHCPClient& reserved = *client;
        DWORD dynamicAddress = 0;
        HardwareAddress dynamicHardware;
        if (!FindDHCPClientWithSameName(dynamicClients, FirstLabel(reserved.GetName()),
                                        dynamicAddress, dynamicHardware))
            continue;
        // "Dynamic" for the reservation too: kept as released.
        DT_TRACE(DiagTools::kTraceRecord, "Name [%s], Client Type [%u : %s]",
                 reserved.GetName().c_str(), unsigned{CLIENT_TYPE_NONE}, kDynamicLabel);
        const HardwareAddress& reservedHardware = reserved.GetHardwareAddress();
        if (dynamicHardware.empty() || dynamicHardware.size() != reservedHardware.size())
            continue;
        DT_TRACE(DiagTools::kTraceRecord, "Changing MAC address for client [%s]",
                 reserved.GetName().c_str());
        DT_TRACE_BUFFER(DiagTools::kTraceRecord, reservedHardware.data(), reservedHardware.size());
        DT_TRACE_BUFFER(DiagTools::kTraceRecord, dynamicHardware.data(), dynamicHardware.size());
        if (m_netshCommands) {
            WriteReservationChange(reserved, dynamicAddress, dynamicHardware);
            continue;
        }
        remove(reservedHardware, reserved.GetIPAddress());
        remove(dynamicHardware, dynamicAddress);
        error = manager.AddNewReservation(
            reserved.GetName(), reserved.GetIPAddress(), reserved.GetSubnetMask(), dynamicHardware,
            reserved.GetComment(), reserved.GetLeaseExpiry(), scopeNumber);
        if (error != ERROR_SUCCESS)
            DT_TRACE(DiagTools::kTraceError,
                     "Unable to change to reserved for client [%s] due to error [%lu]",
                     CIPAddressString(reserved.GetIPAddress()).Text(), error);
    }
    // The last code: an earlier failure is forgotten when a later one succeeds. Kept as released;
    // each failure stands in the trace.
    return static_cast<HRESULT>(error);
}

bool CDHCPSegmentInfoImpl::FindDHCPClientWithSameName(const DynamicClients& clients,
                                                      const std::string& nameToFind,
                                                      DWORD& ipAddress,
                                                      HardwareAddress& hardwareAddress) {
    DT_TRACE(DiagTools::kTraceRecord, "Name to find [%s]", nameToFind.c_str());
    const auto found = clients.find(boost::algorithm::to_upper_copy(nameToFind));
    if (found == clients.end())
        return false;
    const CDHCPClient& client = *found->second;
    DT_TRACE(DiagTools::kTraceRecord, "Name [%s], Client Type [%u : %s]", client.GetName().c_str(),
             unsigned{CLIENT_TYPE_DHCP}, kDynamicLabel);
    ipAddress = client.GetIPAddress();
    hardwareAddress = client.GetHardwareAddress();
    return true;
}

void CDHCPSegmentInfoImpl::WriteReservationChange(const CDHCPClient& reserved, DWORD dynamicAddress,
                                                  const HardwareAddress& dynamicHardware) {
    const std::string& name = reserved.GetName();
    const std::string reservedIp = CIPAddressString(reserved.GetIPAddress()).Text();
    const std::string dynamicIp = CIPAddressString(dynamicAddress).Text();
    const std::string mask = CIPAddressString(reserved.GetSubnetMask()).Text();
    const std::string dynamicMac = HardwareAddressText(dynamicHardware);
    m_netshCommands->DeleteClientAddressFromDHCPScope(
        name, reservedIp, mask, HardwareAddressText(reserved.GetHardwareAddress()));
    m_netshCommands->DeleteClientAddressFromDHCPScope(name, dynamicIp, mask, dynamicMac);
    m_netshCommands->ReservedClientAddressInDHCPScope(name, reservedIp, mask, dynamicMac);
}
