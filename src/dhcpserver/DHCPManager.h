#pragma once

#include <cstdint>
#include <string>

#include "dhcpserver/DHCPClient.h"

/// Owner of an API client record and all it points to. Throws if a text can't be converted.
class CClientRecord {
public:
    CClientRecord(const std::string& name, const HardwareAddress& hardwareAddress,
                  std::uint32_t address, std::uint32_t mask, const std::string& comment,
                  const DATE_TIME& leaseExpiry);
    CClientRecord(const CClientRecord&) = delete;
    CClientRecord& operator=(const CClientRecord&) = delete;

    const DHCP_CLIENT_INFO_V4& Info() const { return m_info; }
    const HardwareAddress& Hardware() const { return m_hardwareAddress; }

private:
    std::wstring m_name;
    std::wstring m_comment;
    HardwareAddress m_hardwareAddress;
    DHCP_CLIENT_INFO_V4 m_info = {};
};

/// Calls the management API of the DHCP server at one address. Addresses are dotted text or numbers
/// in host order; a text that is not an address becomes 255.255.255.255, which the server judges.
/// Functions return the API's Win32 code, 0 on success. A failed call is traced here, once, and
/// does not throw.
class CDHCPManager {
public:
    /// serverAddress: dotted address or host name. Throws if it can't be converted to UTF-16.
    explicit CDHCPManager(const std::string& serverAddress);
    virtual ~CDHCPManager() = default;

    /// Creates an enabled subnet. If GetHostInfo fails, the primary host stays empty.
    DWORD CreateSubnet(const std::string& scopeName, const std::string& networkId,
                       const std::string& mask, const std::string& comment) const;
    /// Adds a range of all host addresses of the scope.
    DWORD SetupIPRange(const std::string& networkId, const std::string& mask) const;
    DWORD CreateExclusion(const std::string& networkId, const std::string& address) const;
    DWORD SetRouterOption(const std::string& networkId, const std::string& routerAddress) const;
    DWORD SetLeaseDuration(const std::string& networkId, std::uint32_t leaseSeconds) const;
    /// Gets the primary host of the subnet whose id is the server's own address; almost no server
    /// has such a subnet. On failure returns E_FAIL and leaves the outputs unchanged.
    HRESULT GetHostInfo(std::string& hostName, std::string& netBiosName,
                        std::uint32_t& ipAddress) const;
    static void DumpSubnetInfo(const DHCP_SUBNET_INFO& info);

    static std::uint32_t GetNetworkAddress(const std::string& address, const std::string& mask);
    static std::uint32_t GetFirstAddress(const std::string& networkId);
    static std::uint32_t GetLastAddress(const std::string& networkId, const std::string& mask);

    /// Creates a client record whose lease starts now. Does not reserve the address.
    DWORD CreateClient(const std::string& name, const std::string& mac, const std::string& address,
                       const std::string& mask, const std::string& comment,
                       std::uint32_t leaseSeconds) const;
    /// Reserves the address for the MAC. The scope id is address AND mask.
    DWORD CreateReservation(const std::string& name, const std::string& mac,
                            const std::string& address, const std::string& mask) const;
    /// Creates the client record, then the reservation; the record stays if only the reservation
    /// fails. Allocates no memory, so that after the removal of an old reservation only the server
    /// can fail.
    DWORD AddNewReservation(const CClientRecord& client, std::uint32_t subnet) const;
    /// Removes the reservation. If there is none, the server deletes the lease of the address.
    DWORD RemoveClient(const HardwareAddress& hardwareAddress, std::uint32_t address,
                       std::uint32_t subnet) const;
    /// Appends every client of the scope, of any type. Clients read before a failure stay. Returns
    /// ERROR_MORE_DATA if the server announces more clients but makes no progress.
    DWORD GetDynamicClientInfo(const std::string& networkId, ClientList& clients) const;
    /// Appends one byte per "-"-separated token: the low byte of its hexadecimal number, 00 for a
    /// token without digits, FF for a number that exceeds 31 bits. Never fails.
    static void ConvertMAC(const std::string& mac, HardwareAddress& bytes);

private:
    DWORD AddElement(std::uint32_t subnet, const DHCP_SUBNET_ELEMENT_DATA_V4& element) const;
    DWORD AddRangeElement(std::uint32_t subnet, DHCP_SUBNET_ELEMENT_TYPE type,
                          DHCP_IP_RANGE range) const;
    DWORD SetScopeOption(const std::string& networkId, DHCP_OPTION_ID optionId,
                         DHCP_OPTION_DATA_ELEMENT value) const;
    DWORD CreateClientInfo(const CClientRecord& client) const;
    DWORD AddReservationElement(const HardwareAddress& hardwareAddress, std::uint32_t address,
                                std::uint32_t subnet) const;

    std::string m_serverAddress;
    std::wstring m_wideServerAddress;
};
