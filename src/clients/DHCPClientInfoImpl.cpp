#include "clients/DHCPClientInfoImpl.h"

#include <algorithm>
#include <iterator>
#include <ostream>
#include <utility>

#include "clients/CsvFile.h"
#include "dhcpserver/DHCPManager.h"
#include "diagtools/HResultCheck.h"
#include "netsh/NetshCommands.h"
#include "store/IPAddressString.h"
#include "store/StoreFields.h"
#include "win/TextConversion.h"

namespace {

constexpr char kTraceFile[] = "DHCPClientInfoImpl";

// Each format takes the seven fields in the order of kClientFields.
constexpr char kCsvHeader[] =
    "Client Name, IP Address, NetMask, DNS1, DNS2, MAC Address, Lease Status\n\n";
constexpr char kCsvLine[] = "%s, %s, %s, %s, %s, %s, %s\n";
constexpr char kClientFound[] =
    "Client found : Name [%s], IP Address [%s], NetMask [%s], DNS1 [%s], DNS2 [%s], MAC Address "
    "[%s], Lease Status [%s]\n";
constexpr char kClientToAdd[] =
    "Client to add in DHCP server : Name [%s], IP Address [%s], NetMask [%s], DNS1 [%s], DNS2 "
    "[%s], MAC Address [%s], Lease Status [%s] -> ";

constexpr char kReserved[] = "Reserved";

constexpr StoreField kClientFields[] = {
    {L"Name", VT_BSTR, "clientName.ChangeType(VT_BSTR)"},
    {L"IpAddress", VT_UI4, "clientIP.ChangeType(VT_UI4)"},
    {L"NetMask", VT_UI4, "clientNetMask.ChangeType(VT_UI4)"},
    {L"DNS1", VT_UI4, "clientDNS1.ChangeType(VT_UI4)"},
    {L"DNS2", VT_UI4, "clientDNS2.ChangeType(VT_UI4)"},
    {L"MAC", VT_BSTR, "clientMAC.ChangeType(VT_BSTR)"},
    {L"DHCPLeaseStatus", VT_BSTR, "clientLeaseStatus.ChangeType(VT_BSTR)"},
};

/// Positions in a CSV line.
enum ClientField { kName, kAddress, kMask, kDns1, kDns2, kMac, kLeaseStatus, kFieldCount };
static_assert(std::size(kClientFields) == kFieldCount);

using ClientFields = std::vector<std::string>;

std::string FieldText(const CComVariant& value) {
    return value.vt == VT_UI4 ? AddressText(value.ulVal) : value.Narrow();
}

#define ALL_FIELDS(fields)                                                        \
    (fields)[kName].c_str(), (fields)[kAddress].c_str(), (fields)[kMask].c_str(), \
        (fields)[kDns1].c_str(), (fields)[kDns2].c_str(), (fields)[kMac].c_str(), \
        (fields)[kLeaseStatus].c_str()

std::string ToAdd(const ClientFields& fields) {
    return Format(kClientToAdd, ALL_FIELDS(fields));
}

}  // namespace

CDHCPClientInfoImpl::CDHCPClientInfoImpl(const Output& output,
                                         const boost::shared_ptr<CNetshCommands>& netshCommands)
    : m_netshCommands(netshCommands), m_output(output) {}

CDHCPClientInfoImpl::CDHCPClientInfoImpl(const Output& output, const std::string& dhcpServer,
                                         std::uint32_t leaseSeconds)
    : m_dhcpServer(dhcpServer), m_output(output), m_leaseDuration(leaseSeconds) {}

void CDHCPClientInfoImpl::GetDHCPInfo(const std::string& fileName) {
    if (FAILED(Initialize()))
        return;
    DT_TRACE(kTraceDefault, "Default output file [%s]", fileName.c_str());
    const bool written = WriteCsvFile(fileName, kCsvHeader, [this](std::ostream& file) {
        CComVariant clientList;
        if (!ListSection(clientsEntry, clientList))
            return;
        DT_TRACE(kTraceDetail, "Client list retrieved successfully");
        for (const VARIANT& client : ArrayView(clientList)) {
            if (client.vt != VT_BSTR)
                continue;
            try {
                std::string line;
                if (SUCCEEDED(GetDHCPClientInfo(client.bstrVal, line)))
                    file << line;
            }
            CATCH_RECORD_UNLESS(m_netshCommands)
        }
    });
    if (!written)
        DT_TRACE(kTraceError, "Unable to write output file [%s]", fileName.c_str());
    Uninitialize();
}

HRESULT CDHCPClientInfoImpl::GetDHCPClientInfo(BSTR clientGuid, std::string& line) {
    CComVariant clientInfoArray;
    RETURN_IF_FAILED(m_storageAccess->EnumerateWithValue(E_ZAKSTORAGE_PUBLIC, 0, clientsEntry,
                                                         clientGuid, 0, &clientInfoArray));
    if (!IsArrayOfVariants(clientInfoArray))
        return S_OK;
    DT_TRACE(kTraceDetail, "Information for client [%s] retrieved successfully",
             NarrowText(clientGuid).c_str());
    CComVariant values[kFieldCount];
    const StoreFailure failure =
        ReadFields(ArrayView(clientInfoArray), "clientInfoPropName.ChangeType(VT_BSTR)",
                   kClientFields, values, std::size(values));
    RETURN_IF_FAILED_AS(failure.text, failure.hr);

    ClientFields fields(kFieldCount);
    std::transform(std::begin(values), std::end(values), fields.begin(), FieldText);
    line = Format(kCsvLine, ALL_FIELDS(fields));
    if (IsDetailWanted(m_output))
        DisplayThrough(m_output, Format(kClientFound, ALL_FIELDS(fields)), true);
    if (m_netshCommands && fields[kLeaseStatus] == kReserved)
        m_netshCommands->ReservedClientAddressInDHCPScope(fields[kName], fields[kAddress],
                                                          fields[kMask], fields[kMac]);
    return S_OK;
}

void CDHCPClientInfoImpl::SetDHCPInfo(const std::string& fileName) {
    DT_TRACE(kTraceDetail, "Setting DHCP client info on DHCP server");
    ForEachCsvEntry(fileName, [this](const std::string& streamBuf) {
        try {
            LOG_IF_FAILED(SetDHCPClientInfo(streamBuf.c_str()));
        }
        CATCH_RECORD()
    });
}

HRESULT CDHCPClientInfoImpl::SetDHCPClientInfo(const std::string& line) {
    DT_TRACE(kTraceDetail, "Setting DHCP Client info on DHCP server for entry [%s]", line.c_str());
    ClientFields fields = SplitCsvFields(line);
    if (fields.size() != kFieldCount) {
        // Kept for compatibility, also for too many fields: log searches match this text.
        DT_TRACE(kTraceError, "Invalid DHCP client entry. Missing some fields for entry [%s]",
                 line.c_str());
        return E_FAIL;
    }
    std::for_each(fields.begin(), fields.end(), TrimCsvField);
    // Build the message first: if that throws, no client is added. A quiet run shows failures only.
    std::string record = IsDetailWanted(m_output) ? ToAdd(fields) : std::string();
    const DWORD error = AddClientToServer(fields);
    if (error != ERROR_SUCCESS && record.empty())
        record = ToAdd(fields);
    ShowResult(m_output, std::move(record), error);
    return error == ERROR_SUCCESS ? S_OK : E_FAIL;
}

DWORD CDHCPClientInfoImpl::AddClientToServer(const std::vector<std::string>& fields) const {
    const CDHCPManager manager(m_dhcpServer);
    const std::string noComment;
    const DWORD error = manager.CreateClient(fields[kName], fields[kMac], fields[kAddress],
                                             fields[kMask], noComment, m_leaseDuration);
    if (error != ERROR_SUCCESS || fields[kLeaseStatus] != kReserved)
        return error;
    return manager.CreateReservation(fields[kName], fields[kMac], fields[kAddress], fields[kMask]);
}
