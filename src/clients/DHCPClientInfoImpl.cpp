#include "clients/DHCPClientInfoImpl.h"

#include <algorithm>
#include <fstream>
#include <iterator>

#include "clients/CsvFile.h"
#include "dhcpserver/DHCPManager.h"
#include "diagtools/HResultCheck.h"
#include "driver/output/OutputMsg.h"
#include "driver/output/RecordResult.h"
#include "netsh/NetshCommands.h"
#include "store/IPAddressString.h"
#include "store/StoreFields.h"
#include "store/TextConversion.h"

namespace {

constexpr char kTraceFile[] = "DHCPClientInfoImpl";

// Arguments of the formats: the seven fields in the order of kClientFields.
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

std::string FieldText(const CStoreValue& value) {
    return value.Get().vt == VT_UI4 ? CIPAddressString(value.Get().ulVal).Text() : value.Narrow();
}

template <const auto& Text>
std::string FillFields(const ClientFields& fields) {
    return FillText<Text>(fields[kName], fields[kAddress], fields[kMask], fields[kDns1],
                          fields[kDns2], fields[kMac], fields[kLeaseStatus]);
}

}  // namespace

CDHCPClientInfoImpl::CDHCPClientInfoImpl(const boost::weak_ptr<COutputMsg>& output,
                                         const boost::shared_ptr<CNetshCommands>& netshCommands)
    : m_netshCommands(netshCommands), m_output(output) {}

CDHCPClientInfoImpl::CDHCPClientInfoImpl(const boost::weak_ptr<COutputMsg>& output,
                                         const std::string& dhcpServer, std::uint32_t leaseSeconds)
    : m_dhcpServer(dhcpServer), m_output(output), m_leaseDuration(leaseSeconds) {}

void CDHCPClientInfoImpl::GetDHCPInfo(const std::string& fileName) {
    if (FAILED(Initialize()))
        return;
    DT_TRACE(DiagTools::kTraceDefault, "Default output file [%s]", fileName.c_str());
    std::ofstream file(fileName, std::ios::out | std::ios::trunc);
    const bool opened = file.is_open();
    file << kCsvHeader;
    if (CComVariant clientList; opened && ListSection(clientsEntry, clientList)) {
        DT_TRACE(DiagTools::kTraceDetail, "Client list retrieved successfully");
        for (const VARIANT& client : ArrayView(clientList))
            if (client.vt == VT_BSTR)
                CONTAIN_EXCEPTIONS(ExportClient(client.bstrVal, file));
    }
    file.close();
    if (opened && !file)
        DT_TRACE(DiagTools::kTraceError, "Unable to write output file [%s]", fileName.c_str());
    Uninitialize();
}

void CDHCPClientInfoImpl::ExportClient(BSTR clientGuid, std::ostream& file) {
    std::string line;
    if (SUCCEEDED(GetDHCPClientInfo(clientGuid, line)))
        file << line;
}

HRESULT CDHCPClientInfoImpl::GetDHCPClientInfo(BSTR clientGuid, std::string& line) {
    CComVariant clientInfoArray;
    RETURN_IF_FAILED(m_storageAccess->EnumerateWithValue(E_ZAKSTORAGE_PUBLIC, 0, clientsEntry,
                                                         clientGuid, 0, &clientInfoArray));
    if (!IsArrayOfVariants(clientInfoArray))
        return S_OK;
    DT_TRACE(DiagTools::kTraceDetail, "Information for client [%s] retrieved successfully",
             NarrowText(clientGuid).c_str());
    const ArrayView pairs(clientInfoArray);
    CStoreValue values[kFieldCount];
    const StoreFailure failure =
        ReadFields(pairs, "clientInfoPropName.ChangeType(VT_BSTR)", kClientFields, values);
    RETURN_IF_FAILED_AS(failure.text, failure.hr);

    ClientFields fields(kFieldCount);
    std::transform(std::begin(values), std::end(values), fields.begin(), FieldText);
    line = FillFields<kCsvLine>(fields);
    if (IsDetailWanted(m_output))
        DisplayThrough(m_output, FillFields<kClientFound>(fields), true);
    if (m_netshCommands && fields[kLeaseStatus] == kReserved)
        m_netshCommands->ReservedClientAddressInDHCPScope(fields[kName], fields[kAddress],
                                                          fields[kMask], fields[kMac]);
    return S_OK;
}

void CDHCPClientInfoImpl::SetDHCPInfo(const std::string& fileName) {
    DT_TRACE(DiagTools::kTraceDetail, "Setting DHCP client info on DHCP server");
    ForEachCsvEntry(fileName, [this](const std::string& streamBuf) {
        CONTAIN_EXCEPTIONS(LOG_IF_FAILED(SetDHCPClientInfo(streamBuf.c_str())));
    });
}

HRESULT CDHCPClientInfoImpl::SetDHCPClientInfo(const std::string& line) {
    DT_TRACE(DiagTools::kTraceDetail, "Setting DHCP Client info on DHCP server for entry [%s]",
             line.c_str());
    ClientFields fields = SplitCsvFields(line);
    if (fields.size() != kFieldCount) {
        // Also said of a line with too many fields: log searches match these words.
        DT_TRACE(DiagTools::kTraceError,
                 "Invalid DHCP client entry. Missing some fields for entry [%s]", line.c_str());
        return E_FAIL;
    }
    std::for_each(fields.begin(), fields.end(), TrimCsvField);
    const bool added = ReportRecord(
        m_output, [&] { return FillFields<kClientToAdd>(fields); },
        [&] { return AddClientToServer(fields); });
    return added ? S_OK : E_FAIL;
}

DWORD CDHCPClientInfoImpl::AddClientToServer(const std::vector<std::string>& fields) {
    CDHCPManager manager(m_dhcpServer);
    const std::string noComment;
    const DWORD error = manager.CreateClient(fields[kName], fields[kMac], fields[kAddress],
                                             fields[kMask], noComment, m_leaseDuration);
    if (error != ERROR_SUCCESS || fields[kLeaseStatus] != kReserved)
        return error;
    return manager.CreateReservation(fields[kName], fields[kMac], fields[kAddress], fields[kMask]);
}
