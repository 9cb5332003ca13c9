// The clean-up of reservations: pairs of a reservation and a dynamic lease of one host.
#include "dhcpserver/DHCPManager.h"
#include "diagtools/HResultCheck.h"
#include "netsh/NetshCommands.h"
#include "scopes/DHCPSegmentInfoImpl.h"
#include "scopes/HostName.h"
#include "store/IPAddressString.h"

namespace {

constexpr char kTraceFile[] = "DHCPSegmentInfoImpl";

constexpr char kDynamicLabel[] = "Dynamic";

}  // namespace

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
            dynamicClients.emplace(CaselessName(FirstLabel(client->GetName())), client.get());

    const DWORD scopeNumber = CIPAddressString(scopeId).Number();
    // A removal that fails does not stop the re-creation.
    const auto removeFromScope = [&](const HardwareAddress& hardwareAddress, DWORD address) {
        const DWORD failed = manager.RemoveClient(hardwareAddress, address, scopeNumber);
        if (failed != ERROR_SUCCESS)
            DT_TRACE(DiagTools::kTraceError,
                     "Unable to remove client [%s] from Scope [%s] due to error [%lu]",
                     CIPAddressString(address).Text(), scopeId.c_str(), failed);
    };
    DWORD error = ERROR_SUCCESS;
    const auto change = [&](const CDHCPClient& reserved) {
        DWORD dynamicAddress = 0;
        HardwareAddress dynamicHardware;
        if (!FindDHCPClientWithSameName(dynamicClients, FirstLabel(reserved.GetName()),
                                        dynamicAddress, dynamicHardware))
            return;
        // "Dynamic" for the reservation too: kept as released.
        DT_TRACE(DiagTools::kTraceRecord, "Name [%s], Client Type [%u : %s]",
                 reserved.GetName().c_str(), unsigned{CLIENT_TYPE_NONE}, kDynamicLabel);
        const HardwareAddress& reservedHardware = reserved.GetHardwareAddress();
        if (dynamicHardware.empty() || dynamicHardware.size() != reservedHardware.size())
            return;
        DT_TRACE(DiagTools::kTraceRecord, "Changing MAC address for client [%s]",
                 reserved.GetName().c_str());
        DT_TRACE_BUFFER(DiagTools::kTraceRecord, reservedHardware.data(), reservedHardware.size());
        DT_TRACE_BUFFER(DiagTools::kTraceRecord, dynamicHardware.data(), dynamicHardware.size());
        if (m_netshCommands) {
            WriteReservationChange(reserved, dynamicAddress, dynamicHardware);
            return;
        }
        // Whatever can fail on our side fails here, while the host still has what it had.
        const CClientRecord reservation(reserved.GetName(), dynamicHardware,
                                        reserved.GetIPAddress(), reserved.GetSubnetMask(),
                                        reserved.GetComment(), reserved.GetLeaseExpiry());
        removeFromScope(reservedHardware, reserved.GetIPAddress());
        removeFromScope(dynamicHardware, dynamicAddress);
        error = manager.AddNewReservation(reservation, scopeNumber);
        if (error != ERROR_SUCCESS)
            DT_TRACE(DiagTools::kTraceError,
                     "Unable to change to reserved for client [%s] due to error [%lu]",
                     CIPAddressString(reserved.GetIPAddress()).Text(), error);
    };
    for (const auto& client : clients) {
        if (client->GetClientType() != CLIENT_TYPE_NONE)
            continue;
        // A batch file that lacks a command must not be completed: there an exception ends the run.
        if (m_netshCommands)
            change(*client);
        else
            CONTAIN_EXCEPTIONS(change(*client));
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
    const auto found = clients.find(CaselessName(nameToFind));
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
