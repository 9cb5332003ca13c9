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

/// All operations on scopes, which the store calls segments. A scope id is the network id as dotted
/// text; store and DHCP server identify the scope by it. One object serves one command. Failures
/// are traced; a failing record does not stop the others.
class CDHCPSegmentInfoImpl : public CStorageAccess {
public:
    using NetshWriter = boost::shared_ptr<CNetshCommands>;  // empty: no batch file
    using TextList = std::vector<std::string>;

    /// For storing the DHCP server's address.
    explicit CDHCPSegmentInfoImpl(const Output& output);
    /// For storing the gateway's addresses in the scopes.
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

    /// Writes the scope CSV file, and the netsh commands if there is a writer.
    void GetDHCPInfo(const std::string& fileName);
    HRESULT GetScopesList(TextList& scopeIds);
    /// Sets line to the scope's CSV line; leaves it unchanged if the store has no such scope.
    HRESULT GetDHCPScopeInfo(const std::string& scopeId, std::string& line);

    /// Creates the scopes of a CSV file on the DHCP server.
    void SetDHCPInfo(const std::string& fileName);
    /// Returns E_FAIL for every failure, whatever the server's code was.
    HRESULT SetDHCPScopeInfo(const std::string& line);

    /// Stores the gateway's address and mask in each scope.
    void SetDHCPIpInfo();
    HRESULT SetDHCPScopeIpInfo(const std::string& scopeId);

    /// Stores the gateway's default DHCP server. The address may be any text.
    void SetDHCPIpAddress(const std::string& serverAddress);

    /// Replaces each pair of a reservation and a dynamic lease of the same host by one reservation,
    /// on the server or as netsh commands. Returns the code of a failed client list, else that of
    /// the last reservation (an earlier failure is lost); 0 with netsh commands.
    HRESULT ChangeDynamicToReserved(const std::string& scopeId) const;
    HRESULT ChangeAllDynamicToReserved(const std::string& scopeId, const ClientList& clients) const;

private:
    HRESULT AddScope(const TextList& fields) const;

    /// Finds the gateway's own address in the scope. Sets the outputs only if there is one.
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

    /// Maps a host name's first label, in upper case, to its first dynamic client (borrowed).
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
