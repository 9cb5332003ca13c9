#pragma once

#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "dhcpserver/DHCPClient.h"
#include "dhcpserver/DhcpOptions.h"
#include "driver/output/OutputMsg.h"
#include "store/StorageAccess.h"

class CDHCPManager;
class CNetshCommands;
struct Adapter;

/// Every operation on scopes (the store calls them segments). A scope id is the scope's network id
/// as dotted text; it is the key of the scope in the store and its name on the DHCP server.
///
/// One object serves one command. Failures are traced; a failing record never stops the others.
class CDHCPSegmentInfoImpl : public CStorageAccess {
public:
    using NetshWriter = boost::shared_ptr<CNetshCommands>;  // empty: no batch file
    using TextList = std::vector<std::string>;

    /// For the server's address in the store.
    explicit CDHCPSegmentInfoImpl(const Output& output);
    /// For the addresses of the scopes in the store.
    CDHCPSegmentInfoImpl(const Output& output, bool useRegistry);
    /// For the export.
    CDHCPSegmentInfoImpl(const Output& output, std::uint32_t leaseSeconds,
                         const NetshWriter& netshCommands, bool useRegistry);
    /// For the import.
    CDHCPSegmentInfoImpl(const Output& output, const std::string& dhcpServer,
                         std::uint32_t leaseSeconds);
    /// For changing dynamic clients to reservations.
    CDHCPSegmentInfoImpl(const Output& output, const std::string& dhcpServer,
                         const NetshWriter& netshCommands);

    /// Writes the scope CSV file, and netsh commands when there is a writer.
    void GetDHCPInfo(const std::string& fileName);
    HRESULT GetScopesList(TextList& scopeIds);
    /// line, empty on entry, becomes the scope's CSV line; it stays empty when the store holds
    /// nothing under the id.
    HRESULT GetDHCPScopeInfo(const std::string& scopeId, std::string& line);

    /// Creates the scopes of a CSV file on the DHCP server.
    void SetDHCPInfo(const std::string& fileName);
    /// E_FAIL for any failure, whatever the server's code was.
    HRESULT SetDHCPScopeInfo(const std::string& line);

    /// Writes the gateway's address and mask on each scope into the store.
    void SetDHCPIpInfo();
    HRESULT SetDHCPScopeIpInfo(const std::string& scopeId);

    /// Records the DHCP server as the gateway's default one. Any text is taken as the address.
    void SetDHCPIpAddress(const std::string& serverAddress);

    /// Turns each pair of a reservation and a dynamic lease of the same host into one reservation,
    /// on the server or as netsh commands. The list's Win32 code when that failed, else the code of
    /// the last reservation made: an earlier failure is forgotten. 0 with netsh commands.
    HRESULT ChangeDynamicToReserved(const std::string& scopeId) const;
    HRESULT ChangeAllDynamicToReserved(const std::string& scopeId, const ClientList& clients) const;

private:
    HRESULT AddScope(const TextList& fields) const;

    /// Finds the gateway's own address on the scope in the chosen source. Writes the outputs on a
    /// match only.
    HRESULT GetAdapterInfoForScope(const std::string& scopeId, std::string& address,
                                   std::string& mask) const;
    static HRESULT GetAdapterInfoForScopeUsingIpConf(const std::string& scopeId,
                                                     std::string& address, std::string& mask);
    static HRESULT GetAdapterInfoForScopeUsingRegistry(const std::string& scopeId,
                                                       std::string& address, std::string& mask);
    static HRESULT GetAdapterInfoForScope(const Adapter& adapter, const std::string& scopeId,
                                          std::string& address, std::string& mask);
    static HRESULT GetAdapterInfoForScope(const std::string& registryEntryLocation,
                                          const std::string& scopeId, std::string& address,
                                          std::string& mask);
    static std::uint32_t GetAdapterNetworkId(const std::string& address, const std::string& mask);
    static HRESULT GetInterfaceName(const std::string& registryEntryLocation, std::string& name);
    static HRESULT GetAdapterInterfaceAddresses(const std::string& registryEntryLocation,
                                                TextList& addresses);
    static HRESULT GetAdapterInterfaceSubnetMasks(const std::string& registryEntryLocation,
                                                  TextList& masks);
    static HRESULT GetAdapterField(const std::string& registryEntryLocation, const char* valueName,
                                   TextList& texts);

    /// The first dynamic client, in list order, under each first label of a host name in upper
    /// case; borrows the clients.
    using DynamicClients = std::unordered_map<std::string, const CDHCPClient*>;
    static bool FindDHCPClientWithSameName(const DynamicClients& clients,
                                           const std::string& nameToFind, std::uint32_t& ipAddress,
                                           HardwareAddress& hardwareAddress);
    void WriteReservationChange(const CDHCPClient& reserved, std::uint32_t dynamicAddress,
                                const HardwareAddress& dynamicHardware) const;

    std::string m_dhcpServer;
    bool m_useRegistry = false;  // false: live adapters
    Output m_output;
    std::uint32_t m_leaseDuration = kDefaultLeaseSeconds;
    NetshWriter m_netshCommands;
};
