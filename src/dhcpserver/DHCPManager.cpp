#include "dhcpserver/DHCPManager.h"

#include <algorithm>
#include <boost/make_shared.hpp>
#include <cstdlib>
#include <memory>

#include "dhcpserver/DhcpApiLibrary.h"
#include "dhcpserver/DhcpOptions.h"
#include "diagtools/HResultCheck.h"
#include "diagtools/ModuleStatistics.h"
#include "store/IPAddressString.h"
#include "win/TextConversion.h"

namespace {

constexpr char kTraceFile[] = "DHCPManager";

constexpr ULONGLONG kFileTimeUnitsPerSecond = 10'000'000;

/// An enumeration ends after this many consecutive calls that do not advance the resume handle.
constexpr int kMaxIdleRounds = 16;

/// A reservation element and the records it points to. Borrows the hardware address.
struct ReservedIpElement {
    ReservedIpElement(const HardwareAddress& hardwareAddress, std::uint32_t address)
        : client{static_cast<DWORD>(hardwareAddress.size()),
                 const_cast<BYTE*>(hardwareAddress.data())},
          reservation{address, &client, CLIENT_TYPE_BOTH} {
        element.ElementType = DhcpReservedIps;
        element.Element.ReservedIp = &reservation;
    }
    ReservedIpElement(const ReservedIpElement&) = delete;
    ReservedIpElement& operator=(const ReservedIpElement&) = delete;

    DHCP_CLIENT_UID client;
    DHCP_IP_RESERVATION_V4 reservation;
    DHCP_SUBNET_ELEMENT_DATA_V4 element = {};
};

DATE_TIME ExpiryFromNow(std::uint32_t leaseSeconds) {
    SYSTEMTIME utc;
    FILETIME now = {};
    ::GetSystemTime(&utc);
    ::SystemTimeToFileTime(&utc, &now);
    const ULONGLONG expiry =
        (static_cast<ULONGLONG>(now.dwHighDateTime) << 32 | now.dwLowDateTime) +
        leaseSeconds * kFileTimeUnitsPerSecond;
    return {static_cast<DWORD>(expiry), static_cast<DWORD>(expiry >> 32)};
}

boost::shared_ptr<CDHCPClient> ToClient(const DHCP_CLIENT_INFO_V4& info) {
    const boost::shared_ptr<CDHCPClient> client = boost::make_shared<CDHCPClient>();
    client->SetClientType(info.bClientType);
    client->SetName(NarrowText(info.ClientName));
    client->SetLeaseExpiry(info.ClientLeaseExpires);
    client->SetComment(NarrowText(info.ClientComment));
    client->SetIPAddress(info.ClientIpAddress);
    client->SetSubnetMask(info.SubnetMask);
    if (info.ClientHardwareAddress.Data)
        client->SetHardwareAddress(info.ClientHardwareAddress.Data,
                                   info.ClientHardwareAddress.DataLength);
    return client;
}

}  // namespace

CClientRecord::CClientRecord(const std::string& name, const HardwareAddress& hardwareAddress,
                             std::uint32_t address, std::uint32_t mask, const std::string& comment,
                             const DATE_TIME& leaseExpiry)
    : m_name(WideText(name)), m_comment(WideText(comment)), m_hardwareAddress(hardwareAddress) {
    m_info.ClientIpAddress = address;
    m_info.SubnetMask = mask;
    m_info.ClientHardwareAddress = {static_cast<DWORD>(m_hardwareAddress.size()),
                                    m_hardwareAddress.data()};
    m_info.ClientName = m_name.data();
    m_info.ClientComment = m_comment.data();
    m_info.ClientLeaseExpires = leaseExpiry;
    m_info.bClientType = CLIENT_TYPE_BOTH;
}

CDHCPManager::CDHCPManager(const std::string& serverAddress)
    : m_serverAddress(serverAddress), m_wideServerAddress(WideText(serverAddress)) {}

DWORD CDHCPManager::CreateSubnet(const std::string& scopeName, const std::string& networkId,
                                 const std::string& mask, const std::string& comment) const {
    DT_TRACE(kTraceDetail, "Creating subnet name [%s], Network ID [%s], Mask [%s], Comment [%s]",
             scopeName.c_str(), networkId.c_str(), mask.c_str(), comment.c_str());
    std::string hostName;
    std::string netBiosName;
    std::uint32_t ipAddress = 0;
    const std::uint32_t errorLines = DiagTools::CModuleStatistics::ErrorLines();
    LOG_IF_FAILED(GetHostInfo(hostName, netBiosName, ipAddress));
    // GetHostInfo fails on almost every server. Its error lines must not make the event a warning.
    DiagTools::CModuleStatistics::SetErrorLines(errorLines);

    std::wstring wideName = WideText(scopeName);
    std::wstring wideComment = WideText(comment);
    std::wstring wideHostName = WideText(hostName);
    std::wstring wideNetBiosName = WideText(netBiosName);
    DHCP_SUBNET_INFO info = {};
    info.SubnetAddress = AddressNumber(networkId);
    info.SubnetMask = AddressNumber(mask);
    info.SubnetName = wideName.data();
    info.SubnetComment = wideComment.data();
    info.PrimaryHost = {ipAddress, wideNetBiosName.data(), wideHostName.data()};
    info.SubnetState = DhcpSubnetEnabled;
    DumpSubnetInfo(info);
    const DWORD error = CDhcpApiLibrary::Instance().CreateSubnet(m_wideServerAddress.c_str(),
                                                                 info.SubnetAddress, &info);
    if (error != ERROR_SUCCESS)
        DT_TRACE(kTraceError,
                 "Unable to create subnet name [%s], Network ID [%s], Mask [%s], Comment [%s] due "
                 "to error [%lu]",
                 scopeName.c_str(), networkId.c_str(), mask.c_str(), comment.c_str(), error);
    return error;
}

DWORD CDHCPManager::SetupIPRange(const std::string& networkId, const std::string& mask) const {
    const DHCP_IP_RANGE range = {GetFirstAddress(networkId), GetLastAddress(networkId, mask)};
    DT_TRACE(kTraceDetail, "First address [%s], Last address [%s]",
             CIPAddressString(range.StartAddress).Text(),
             CIPAddressString(range.EndAddress).Text());
    const DWORD error = AddRangeElement(AddressNumber(networkId), DhcpIpRanges, range);
    if (error != ERROR_SUCCESS)
        DT_TRACE(kTraceError,
                 "Unable to set IP Range for Scope [%s], Mask [%s], RetCode [%lu] - Please Check "
                 "your subnet mask and range",
                 networkId.c_str(), mask.c_str(), error);
    return error;
}

DWORD CDHCPManager::CreateExclusion(const std::string& networkId,
                                    const std::string& address) const {
    DT_TRACE(kTraceDetail, "Creating exclusion for Address [%s] on Scope [%s]", address.c_str(),
             networkId.c_str());
    const DWORD excluded = AddressNumber(address);
    const DWORD error =
        AddRangeElement(AddressNumber(networkId), DhcpExcludedIpRanges, {excluded, excluded});
    if (error != ERROR_SUCCESS)
        DT_TRACE(kTraceError, "Unable to exclude Address [%s] from scope [%s] due to error [%lu]",
                 address.c_str(), networkId.c_str(), error);
    return error;
}

DWORD CDHCPManager::SetRouterOption(const std::string& networkId,
                                    const std::string& routerAddress) const {
    DT_TRACE(kTraceDetail, "Setting router option for Scope [%s] with address [%s]",
             networkId.c_str(), routerAddress.c_str());
    DHCP_OPTION_DATA_ELEMENT value = {};
    value.OptionType = DhcpIpAddressOption;
    value.Element.IpAddressOption = AddressNumber(routerAddress);
    const DWORD error = SetScopeOption(networkId, kOptionRouter, value);
    if (error != ERROR_SUCCESS)
        DT_TRACE(kTraceError,
                 "Unable to set Router option for [%s] on scope [%s] due to error [%lu]",
                 routerAddress.c_str(), networkId.c_str(), error);
    return error;
}

DWORD CDHCPManager::SetLeaseDuration(const std::string& networkId,
                                     std::uint32_t leaseSeconds) const {
    const unsigned long seconds = leaseSeconds;
    DT_TRACE(kTraceDetail, "Setting lease duration to [%lu] for Scope [%s]", seconds,
             networkId.c_str());
    DHCP_OPTION_DATA_ELEMENT value = {};
    value.OptionType = DhcpDWordOption;
    value.Element.DWordOption = seconds;
    const DWORD error = SetScopeOption(networkId, kOptionLeaseTime, value);
    if (error != ERROR_SUCCESS)
        DT_TRACE(kTraceError,
                 "Unable to set Lease Duration value [%lu] on scope [%s] due to error [%lu]",
                 seconds, networkId.c_str(), error);
    return error;
}

HRESULT CDHCPManager::GetHostInfo(std::string& hostName, std::string& netBiosName,
                                  std::uint32_t& ipAddress) const {
    DHCP_SUBNET_INFO* received = nullptr;
    const DWORD error = CDhcpApiLibrary::Instance().GetSubnetInfo(
        m_wideServerAddress.c_str(), AddressNumber(m_serverAddress), &received);
    const std::unique_ptr<DHCP_SUBNET_INFO, DhcpRecordFree> info(received);
    if (error != ERROR_SUCCESS || !info) {
        DT_TRACE(kTraceError, "Unable to get subnet info for Address [%s], Error [%lu]",
                 m_serverAddress.c_str(), error);
        return E_FAIL;
    }
    DumpSubnetInfo(*info);
    hostName = NarrowText(info->PrimaryHost.HostName);
    netBiosName = NarrowText(info->PrimaryHost.NetBiosName);
    ipAddress = info->PrimaryHost.IpAddress;
    return S_OK;
}

void CDHCPManager::DumpSubnetInfo(const DHCP_SUBNET_INFO& info) {
    // The formatter prints a null pointer as "(null)".
    DT_TRACE(kTraceDetail, "PrimaryHost.Hostname [%s]",
             info.PrimaryHost.HostName ? NarrowText(info.PrimaryHost.HostName).c_str() : nullptr);
    // Swapped as by ntohl (without loading Winsock): a server returns only this address in network
    // order.
    DT_TRACE(kTraceDetail, "PrimaryHost.IpAddress [%s]",
             CIPAddressString(::_byteswap_ulong(info.PrimaryHost.IpAddress)).Text());
    DT_TRACE(
        kTraceDetail, "PrimaryHost.NetBiosName [%s]",
        info.PrimaryHost.NetBiosName ? NarrowText(info.PrimaryHost.NetBiosName).c_str() : nullptr);
    DT_TRACE(kTraceDetail, "SubnetAddress [%s]", CIPAddressString(info.SubnetAddress).Text());
    DT_TRACE(kTraceDetail, "SubnetComment [%s]",
             info.SubnetComment ? NarrowText(info.SubnetComment).c_str() : nullptr);
    DT_TRACE(kTraceDetail, "SubnetMask [%s]", CIPAddressString(info.SubnetMask).Text());
    DT_TRACE(kTraceDetail, "SubnetName [%s]",
             info.SubnetName ? NarrowText(info.SubnetName).c_str() : nullptr);
    DT_TRACE(kTraceDetail, "SubnetState [%d]", static_cast<int>(info.SubnetState));
}

std::uint32_t CDHCPManager::GetNetworkAddress(const std::string& address, const std::string& mask) {
    return NetworkAddress(AddressNumber(address), AddressNumber(mask));
}

std::uint32_t CDHCPManager::GetFirstAddress(const std::string& networkId) {
    return FirstHostAddress(AddressNumber(networkId));
}

std::uint32_t CDHCPManager::GetLastAddress(const std::string& networkId, const std::string& mask) {
    return LastHostAddress(AddressNumber(networkId), AddressNumber(mask));
}

DWORD CDHCPManager::AddElement(std::uint32_t subnet,
                               const DHCP_SUBNET_ELEMENT_DATA_V4& element) const {
    return CDhcpApiLibrary::Instance().AddSubnetElement(m_wideServerAddress.c_str(), subnet,
                                                        &element);
}

DWORD CDHCPManager::AddRangeElement(std::uint32_t subnet, DHCP_SUBNET_ELEMENT_TYPE type,
                                    DHCP_IP_RANGE range) const {
    DHCP_SUBNET_ELEMENT_DATA_V4 element = {};
    element.ElementType = type;
    element.Element.IpRange = &range;
    return AddElement(subnet, element);
}

DWORD CDHCPManager::SetScopeOption(const std::string& networkId, DHCP_OPTION_ID optionId,
                                   DHCP_OPTION_DATA_ELEMENT value) const {
    DHCP_OPTION_SCOPE_INFO scope = {};
    scope.ScopeType = DhcpSubnetOptions;
    scope.ScopeInfo.SubnetScopeInfo = AddressNumber(networkId);
    const DHCP_OPTION_DATA data = {1, &value};
    return CDhcpApiLibrary::Instance().SetOptionValue(m_wideServerAddress.c_str(), optionId, &scope,
                                                      &data);
}

DWORD CDHCPManager::CreateClient(const std::string& name, const std::string& mac,
                                 const std::string& address, const std::string& mask,
                                 const std::string& comment, std::uint32_t leaseSeconds) const {
    DT_TRACE(kTraceDetail,
             "Creating client name [%s], Address [%s], Mask [%s], Comment [%s], MAC [%s]",
             name.c_str(), address.c_str(), mask.c_str(), comment.c_str(), mac.c_str());
    HardwareAddress hardwareAddress;
    ConvertMAC(mac, hardwareAddress);
    const DWORD error =
        CreateClientInfo({name, hardwareAddress, AddressNumber(address), AddressNumber(mask),
                          comment, ExpiryFromNow(leaseSeconds)});
    if (error != ERROR_SUCCESS)
        DT_TRACE(kTraceError,
                 "Unable to create client name [%s], Address [%s], Mask [%s], Comment [%s], MAC "
                 "[%s] due to error [%lu]",
                 name.c_str(), address.c_str(), mask.c_str(), comment.c_str(), mac.c_str(), error);
    return error;
}

DWORD CDHCPManager::CreateReservation(const std::string& name, const std::string& mac,
                                      const std::string& address, const std::string& mask) const {
    DT_TRACE(kTraceDetail,
             "Creating reservation for client name [%s], Address [%s], Mask [%s], MAC [%s]",
             name.c_str(), address.c_str(), mask.c_str(), mac.c_str());
    HardwareAddress hardwareAddress;
    ConvertMAC(mac, hardwareAddress);
    const DWORD error = AddReservationElement(hardwareAddress, AddressNumber(address),
                                              GetNetworkAddress(address, mask));
    // Kept for compatibility: log searches match "Unable to reserved".
    if (error != ERROR_SUCCESS)
        DT_TRACE(kTraceError,
                 "Unable to reserved client name [%s], Address [%s], Mask [%s], MAC [%s] due to "
                 "error [%lu]",
                 name.c_str(), address.c_str(), mask.c_str(), mac.c_str(), error);
    return error;
}

DWORD CDHCPManager::AddNewReservation(const CClientRecord& client, std::uint32_t subnet) const {
    DWORD error = CreateClientInfo(client);
    if (error == ERROR_SUCCESS)
        error = AddReservationElement(client.Hardware(), client.Info().ClientIpAddress, subnet);
    if (error != ERROR_SUCCESS)
        DT_TRACE(kTraceError, "Unable to set client info due to error [%lu]", error);
    return error;
}

DWORD CDHCPManager::RemoveClient(const HardwareAddress& hardwareAddress, std::uint32_t address,
                                 std::uint32_t subnet) const {
    DT_TRACE(kTraceRecord, "Removing [%s]", CIPAddressString(address).Text());
    const ReservedIpElement reserved(hardwareAddress, address);
    const DWORD error = CDhcpApiLibrary::Instance().RemoveSubnetElement(
        m_wideServerAddress.c_str(), subnet, &reserved.element, DhcpFullForce);
    if (error != ERROR_SUCCESS)
        DT_TRACE(kTraceError, "Unable to remove reservation due to error [%lu]", error);
    return error;
}

DWORD CDHCPManager::GetDynamicClientInfo(const std::string& networkId, ClientList& clients) const {
    const std::uint32_t subnet = AddressNumber(networkId);
    DT_TRACE(kTraceDetail, "Getting client information network [%s]", networkId.c_str());
    DHCP_RESUME_HANDLE resume = 0;
    for (int idleRounds = 0;;) {
        const DHCP_RESUME_HANDLE before = resume;
        DHCP_CLIENT_INFO_ARRAY_V4* received = nullptr;
        DWORD clientsRead = 0;
        DWORD clientsTotal = 0;
        const DWORD error = CDhcpApiLibrary::Instance().EnumSubnetClients(
            m_wideServerAddress.c_str(), subnet, &resume, 0xFFFFFFFF, &received, &clientsRead,
            &clientsTotal);
        const std::unique_ptr<DHCP_CLIENT_INFO_ARRAY_V4, DhcpRecordFree> page(received);
        const DWORD elements = page && page->Clients ? page->NumElements : 0;
        DT_TRACE(kTraceRecord, "Number of clients [%lu : %lu], Remaining [%lu], Error [%lu]",
                 clientsRead, elements, clientsTotal, error);
        if (error != ERROR_SUCCESS && error != ERROR_MORE_DATA)
            return error;
        for (DWORD i = 0; i < elements; ++i)
            if (page->Clients[i])
                clients.push_back(ToClient(*page->Clients[i]));
        if (error == ERROR_SUCCESS)
            return error;
        // An empty page is not the end while the resume handle advances. A handle of 0 is: the next
        // call would start over.
        idleRounds = resume != before ? 0 : idleRounds + 1;
        if (resume == 0 || idleRounds == kMaxIdleRounds)
            return error;
    }
}

void CDHCPManager::ConvertMAC(const std::string& mac, HardwareAddress& bytes) {
    const char* const textEnd = mac.c_str() + mac.size();
    for (const char* token = mac.c_str();;) {
        const char* const end = std::find(token, textEnd, '-');
        // For an empty token strtol reads the next one, with the "-" as its sign: use 0 instead.
        char* stop = nullptr;
        const long number = std::strtol(token, &stop, 16);
        bytes.push_back(static_cast<BYTE>(stop > end ? 0 : number & 0xFF));
        if (end == textEnd)
            break;
        token = end + 1;
    }
    DT_TRACE_BUFFER(kTraceDetail, bytes.data(), bytes.size());
}

DWORD CDHCPManager::CreateClientInfo(const CClientRecord& client) const {
    DHCP_CLIENT_INFO_V4 info = client.Info();
    info.OwnerHost.IpAddress = AddressNumber(m_serverAddress);
    return CDhcpApiLibrary::Instance().CreateClientInfo(m_wideServerAddress.c_str(), &info);
}

DWORD CDHCPManager::AddReservationElement(const HardwareAddress& hardwareAddress,
                                          std::uint32_t address, std::uint32_t subnet) const {
    return AddElement(subnet, ReservedIpElement(hardwareAddress, address).element);
}
