// Clean-up: replaces a reservation and a dynamic lease of the same host by one reservation.
#include <utility>

#include "dhcpserver/DHCPManager.h"
#include "diagtools/HResultCheck.h"
#include "netsh/NetshCommands.h"
#include "scopes/DHCPSegmentInfoImpl.h"
#include "scopes/HostName.h"
#include "store/IPAddressString.h"

namespace {

constexpr char kTraceFile[] = "DHCPSegmentInfoImpl";

constexpr char kDynamicLabel[] = "Dynamic";

/// Lower-case hexadecimal pairs joined by "-".
std::string HardwareAddressText(const HardwareAddress& hardwareAddress) {
    std::string text;
    for (const BYTE value : hardwareAddress)
        text += Format(text.empty() ? "%02x" : "-%02x", value);
    return text;
}

}  // namespace

HRESULT CDHCPSegmentInfoImpl::ChangeDynamicToReserved(const std::string& scopeId) const {
    const CDHCPManager manager(m_dhcpServer);
    ClientList clients;
    const DWORD error = manager.GetDynamicClientInfo(scopeId, clients);
    if (error != ERROR_SUCCESS) {
        DT_TRACE(kTraceError, "Unable to get DHCP client info from server [%s] due to error [%lu]",
                 m_dhcpServer.c_str(), error);
        return static_cast<HRESULT>(error);
    }
    const HRESULT result = ChangeAllDynamicToReserved(scopeId, clients);
    if (result != S_OK)
        DT_TRACE(kTraceError, "Unable to change to reserved on server [%s] due to error [%lu]",
                 m_dhcpServer.c_str(), static_cast<unsigned long>(result));
    return result;
}

HRESULT CDHCPSegmentInfoImpl::ChangeAllDynamicToReserved(const std::string& scopeId,
                                                         const ClientList& clients) const {
    const CDHCPManager manager(m_dhcpServer);
    DT_TRACE(kTraceDetail, "Processing [%lu] clients for scope [%s]",
             static_cast<unsigned long>(clients.size()), scopeId.c_str());
    DynamicClients dynamicClients;
    for (const auto& client : clients)
        if (client->GetClientType() == CLIENT_TYPE_DHCP)
            dynamicClients.emplace(CaselessName(FirstLabel(client->GetName())), client.get());

    const std::uint32_t scopeNumber = AddressNumber(scopeId);
    // Kept for compatibility: only the code of the last reservation is returned. The trace has all.
    DWORD error = ERROR_SUCCESS;
    for (const auto& client : clients) {
        if (client->GetClientType() != CLIENT_TYPE_NONE)
            continue;
        try {
            const CDHCPClient& reserved = *client;
            std::uint32_t dynamicAddress = 0;
            HardwareAddress dynamicHardware;
            if (!FindDHCPClientWithSameName(dynamicClients, FirstLabel(reserved.GetName()),
                                            dynamicAddress, dynamicHardware))
                continue;
            // Kept for compatibility: log searches match "Dynamic" for the reservation, too.
            DT_TRACE(kTraceRecord, "Name [%s], Client Type [%u : %s]", reserved.GetName().c_str(),
                     unsigned{CLIENT_TYPE_NONE}, kDynamicLabel);
            const HardwareAddress& reservedHardware = reserved.GetHardwareAddress();
            if (dynamicHardware.empty() || dynamicHardware.size() != reservedHardware.size())
                continue;
            DT_TRACE(kTraceRecord, "Changing MAC address for client [%s]",
                     reserved.GetName().c_str());
            DT_TRACE_BUFFER(kTraceRecord, reservedHardware.data(), reservedHardware.size());
            DT_TRACE_BUFFER(kTraceRecord, dynamicHardware.data(), dynamicHardware.size());
            if (m_netshCommands) {
                WriteReservationChange(reserved, dynamicAddress, dynamicHardware);
                continue;
            }
            // All that can fail on our side comes before the first removal.
            const CClientRecord reservation(reserved.GetName(), dynamicHardware,
                                            reserved.GetIPAddress(), reserved.GetSubnetMask(),
                                            reserved.GetComment(), reserved.GetLeaseExpiry());
            const std::pair<const HardwareAddress&, std::uint32_t> removed[] = {
                {reservedHardware, reserved.GetIPAddress()}, {dynamicHardware, dynamicAddress}};
            for (const auto& [hardware, address] : removed) {
                const DWORD failed = manager.RemoveClient(hardware, address, scopeNumber);
                // A failed removal does not prevent the new reservation.
                if (failed != ERROR_SUCCESS)
                    DT_TRACE(kTraceError,
                             "Unable to remove client [%s] from Scope [%s] due to error [%lu]",
                             CIPAddressString(address).Text(), scopeId.c_str(), failed);
            }
            error = manager.AddNewReservation(reservation, scopeNumber);
            if (error != ERROR_SUCCESS)
                DT_TRACE(kTraceError,
                         "Unable to change to reserved for client [%s] due to error [%lu]",
                         CIPAddressString(reserved.GetIPAddress()).Text(), error);
        }
        CATCH_RECORD_UNLESS(m_netshCommands)
    }
    return static_cast<HRESULT>(error);
}

bool CDHCPSegmentInfoImpl::FindDHCPClientWithSameName(const DynamicClients& clients,
                                                      const std::string& nameToFind,
                                                      std::uint32_t& ipAddress,
                                                      HardwareAddress& hardwareAddress) {
    DT_TRACE(kTraceRecord, "Name to find [%s]", nameToFind.c_str());
    const auto found = clients.find(CaselessName(nameToFind));
    if (found == clients.end())
        return false;
    const CDHCPClient& client = *found->second;
    DT_TRACE(kTraceRecord, "Name [%s], Client Type [%u : %s]", client.GetName().c_str(),
             unsigned{CLIENT_TYPE_DHCP}, kDynamicLabel);
    ipAddress = client.GetIPAddress();
    hardwareAddress = client.GetHardwareAddress();
    return true;
}

void CDHCPSegmentInfoImpl::WriteReservationChange(const CDHCPClient& reserved,
                                                  std::uint32_t dynamicAddress,
                                                  const HardwareAddress& dynamicHardware) const {
    const std::string& name = reserved.GetName();
    const std::string reservedIp = AddressText(reserved.GetIPAddress());
    const std::string dynamicIp = AddressText(dynamicAddress);
    const std::string mask = AddressText(reserved.GetSubnetMask());
    const std::string dynamicMac = HardwareAddressText(dynamicHardware);
    m_netshCommands->DeleteClientAddressFromDHCPScope(
        name, reservedIp, mask, HardwareAddressText(reserved.GetHardwareAddress()));
    m_netshCommands->DeleteClientAddressFromDHCPScope(name, dynamicIp, mask, dynamicMac);
    m_netshCommands->ReservedClientAddressInDHCPScope(name, reservedIp, mask, dynamicMac);
}
