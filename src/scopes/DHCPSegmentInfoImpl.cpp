#include "scopes/DHCPSegmentInfoImpl.h"

#include <iterator>
#include <ostream>
#include <stdexcept>
#include <utility>

#include "clients/CsvFile.h"
#include "dhcpserver/DHCPManager.h"
#include "diagtools/HResultCheck.h"
#include "netsh/NetshCommands.h"
#include "store/StoreFields.h"
#include "win/TextConversion.h"

namespace {

constexpr char kTraceFile[] = "DHCPSegmentInfoImpl";

constexpr char kCsvHeader[] = "Scope Name, IP Address, NetMask, Network ID, Description\n\n";
constexpr char kCsvLine[] = "%s, %s, %s, %s,\n";  // name, address, mask, scope id
constexpr char kScopeFound[] =                    // name, address, mask, scope id
    "Scope found : Name [%s], IP Address [%s], NetMask [%s], Scope [%s]\n";
constexpr char kScopeToAdd[] =  // name, address, mask, scope id, comment
    "Scope to add in DHCP server : Name [%s], IP Address [%s], NetMask [%s], Scope [%s], Comments "
    "[%s] -> ";

// Fields of a CSV line; any further ones are ignored.
enum CsvField : std::size_t { kName, kAddress, kMask, kNetworkId, kDescription, kFieldCount };

constexpr StoreField kScopeFields[] = {
    {L"Name", VT_BSTR, "scopeName.ChangeType(VT_BSTR)"},
    {L"Address", VT_BSTR, "scopeIP.ChangeType(VT_BSTR)"},
    {L"Mask", VT_BSTR, "scopeNetMask.ChangeType(VT_BSTR)"},
};

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
    const bool written = WriteCsvFile(fileName, kCsvHeader, [this](std::ostream& file) {
        DT_TRACE(kTraceDetail, "Retrieving Scopes list");
        TextList scopeIds;
        if (FAILED(GetScopesList(scopeIds)))
            return;
        for (const std::string& scopeId : scopeIds) {
            try {
                std::string line;
                if (SUCCEEDED(GetDHCPScopeInfo(scopeId, line)))
                    file << line;
            }
            CATCH_RECORD_UNLESS(m_netshCommands)
        }
    });
    if (!written)
        DT_TRACE(kTraceError, "Unable to write output file [%s]", fileName.c_str());
    Uninitialize();
}

HRESULT CDHCPSegmentInfoImpl::GetScopesList(TextList& scopeIds) {
    CComVariant scopeArray;
    RETURN_IF_FAILED(m_storageAccess->Enumerate(E_ZAKSTORAGE_PUBLIC, 0, scopesEntry, 0, &scopeArray));
    if (!IsArrayOfVariants(scopeArray))
        return S_OK;
    DT_TRACE(kTraceDetail, "Scope list retrieved successfully");
    for (const VARIANT& scopeId : ArrayView(scopeArray)) {
        if (scopeId.vt != VT_BSTR)
            continue;
        try {
            scopeIds.push_back(NarrowText(scopeId.bstrVal));
        }
        CATCH_RECORD_UNLESS(m_netshCommands)
    }
    return S_OK;
}

HRESULT CDHCPSegmentInfoImpl::GetDHCPScopeInfo(const std::string& scopeId, std::string& line) {
    CComVariant scopeInfoArray;
    RETURN_IF_FAILED(m_storageAccess->EnumerateWithValue(E_ZAKSTORAGE_PUBLIC, 0, scopesEntry,
                                                         CComBSTR(scopeId.c_str()), 0, &scopeInfoArray));
    if (!IsArrayOfVariants(scopeInfoArray))
        return S_OK;
    DT_TRACE(kTraceDetail, "Information for scope [%s] retrieved successfully", scopeId.c_str());
    CComVariant values[std::size(kScopeFields)];
    const StoreFailure failure =
        ReadFields(ArrayView(scopeInfoArray), "scopeInfoPropName.ChangeType(VT_BSTR)", kScopeFields,
                   values, std::size(values));
    RETURN_IF_FAILED_AS(failure.text, failure.hr);
    const std::string name = values[kName].Narrow();
    std::string adapterIpAddressString = values[kAddress].Narrow();
    std::string netMaskString = values[kMask].Narrow();

    LOG_IF_FAILED(GetAdapterInfoForScope(scopeId, adapterIpAddressString, netMaskString));
    if (adapterIpAddressString.empty() || netMaskString.empty()) {
        DT_TRACE(kTraceError, "No IP or mask for scope [%s]", scopeId.c_str());
        return E_FAIL;
    }
    line = Format(kCsvLine, name.c_str(), adapterIpAddressString.c_str(), netMaskString.c_str(),
                  scopeId.c_str());
    if (IsDetailWanted(m_output))
        DisplayThrough(m_output,
                       Format(kScopeFound, name.c_str(), adapterIpAddressString.c_str(),
                              netMaskString.c_str(), scopeId.c_str()),
                       true);
    if (m_netshCommands)
        m_netshCommands->AddScopeCommands(name, scopeId, adapterIpAddressString, netMaskString, "",
                                          m_leaseDuration);
    return S_OK;
}

// Import

void CDHCPSegmentInfoImpl::SetDHCPInfo(const std::string& fileName) {
    DT_TRACE(kTraceDetail, "Setting DHCP Scope info on DHCP server");
    ForEachCsvEntry(fileName, [this](const std::string& streamBuf) {
        try {
            LOG_IF_FAILED(SetDHCPScopeInfo(streamBuf.c_str()));
        }
        CATCH_RECORD()
    });
}

HRESULT CDHCPSegmentInfoImpl::SetDHCPScopeInfo(const std::string& line) {
    DT_TRACE(kTraceDetail, "Setting DHCP Scope info on DHCP server for entry [%s]", line.c_str());
    TextList fields = SplitCsvFields(line);
    if (fields.size() < kFieldCount) {
        DT_TRACE(kTraceError, "Invalid DHCP Scope entry. Missing some fields for entry [%s]",
                 line.c_str());
        return E_FAIL;
    }
    for (std::size_t i = 0; i < fields.size(); ++i) {
        TrimCsvField(fields[i]);
        DT_TRACE(kTraceRecord, "scopeEntryValues[%u] is [%s]", static_cast<unsigned int>(i),
                 fields[i].c_str());
    }
    // Build the message first: if that throws, no scope is added.
    std::string record =
        Format(kScopeToAdd, fields[kName].c_str(), fields[kAddress].c_str(), fields[kMask].c_str(),
               fields[kNetworkId].c_str(), fields[kDescription].c_str());
    // Not FAILED(): the server's error codes are positive.
    const auto error = static_cast<unsigned long>(AddScope(fields));
    ShowResult(m_output, std::move(record), error);
    return error == ERROR_SUCCESS ? S_OK : E_FAIL;
}

HRESULT CDHCPSegmentInfoImpl::AddScope(const TextList& fields) const {
    const CDHCPManager manager(m_dhcpServer);
    DWORD error = manager.CreateSubnet(fields[kName], fields[kNetworkId], fields[kMask],
                                       fields[kDescription]);
    if (error == ERROR_SUCCESS) {
        // Deliberately lenient: a scope without a valid range still gets the rest. Any other
        // exception, such as out of memory, ends the record.
        try {
            error = manager.SetupIPRange(fields[kNetworkId], fields[kMask]);
        } catch (const std::logic_error&) {
            DT_TRACE(kTraceError, "IP Range is invalid [%s]", fields[kMask].c_str());
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

// The DHCP server's entry

void CDHCPSegmentInfoImpl::SetDHCPIpAddress(const std::string& dchpServerIpAddress) {
    if (FAILED(Initialize()))
        return;
    // Kept for compatibility: log searches match these names in the traced texts, "dchp" included.
    const std::string configSection = "Config";
    const std::string dhcpServerSection = "Server";
    const std::string dhcpDefaultScope = "DefaultDHCP";
    const std::string dhcpDefaultScopeValue = "Default";
    const std::string dhcpServersSection = "DHCPServers";
    const std::string dhcpNameEntry = "Name";
    const std::string dhcpIpAddressEntry = "Address";
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
