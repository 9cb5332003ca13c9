#pragma once

#include <cstdint>
#include <string>

#include "dhcpserver/DHCPClient.h"

/// A client record as the API takes it, owning all that it points to. Throws if a text can't be
/// converted.
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

/// The DHCP server at one address, through its management API. Made for one piece of work.
///
/// Addresses: dotted text or host-order numbers; text that is no address becomes 255.255.255.255
/// and the server judges it. Results: the API's Win32 code, 0 when done. A failure is traced here,
/// once; nothing throws because a call failed.
class CDHCPManager {
public:
    /// serverAddress: dotted address or host name, as the administrator gave it. Throws if it can't
    /// be converted for the API.
    explicit CDHCPManager(const std::string& serverAddress);
    virtual ~CDHCPManager() = default;

    /// Adds the enabled subnet. A failed GetHostInfo is no obstacle: the primary host stays empty.
    DWORD CreateSubnet(const std::string& scopeName, const std::string& networkId,
                       const std::string& mask, const std::string& comment) const;
    /// The range covers every host address of the scope.
    DWORD SetupIPRange(const std::string& networkId, const std::string& mask) const;
    /// Excludes one address from the scope's range.
    DWORD CreateExclusion(const std::string& networkId, const std::string& address) const;
    DWORD SetRouterOption(const std::string& networkId, const std::string& routerAddress) const;
    DWORD SetLeaseDuration(const std::string& networkId, std::uint32_t leaseSeconds) const;
    /// Finds the primary host of the subnet whose id equals the server's own address; on almost
    /// every server there is none. Then returns E_FAIL and leaves the outputs unchanged.
    HRESULT GetHostInfo(std::string& hostName, std::string& netBiosName,
                        std::uint32_t& ipAddress) const;
    static void DumpSubnetInfo(const DHCP_SUBNET_INFO& info);

    static std::uint32_t GetNetworkAddress(const std::string& address, const std::string& mask);
    static std::uint32_t GetFirstAddress(const std::string& networkId);
    static std::uint32_t GetLastAddress(const std::string& networkId, const std::string& mask);

    /// Creates a client record that leases the address from now on. Reserves nothing.
    DWORD CreateClient(const std::string& name, const std::string& mac, const std::string& address,
                       const std::string& mask, const std::string& comment,
                       std::uint32_t leaseSeconds) const;
    /// Reserves the address for the MAC in the scope address AND mask.
    DWORD CreateReservation(const std::string& name, const std::string& mac,
                            const std::string& address, const std::string& mask) const;
    /// Creates the client record, then the reservation; the record stays if only the reservation
    /// fails. Allocates nothing, so that nothing on our side can fail any more: the caller makes
    /// the record before.
    DWORD AddNewReservation(const CClientRecord& client, std::uint32_t subnet) const;
    /// Removes the reservation; if there is none, the server deletes the lease at the address.
    DWORD RemoveClient(const HardwareAddress& hardwareAddress, std::uint32_t address,
                       std::uint32_t subnet) const;
    /// Appends every client of the scope, of any type; what was read before a failure stays.
    /// Returns ERROR_MORE_DATA if the server promises more but makes no progress.
    DWORD GetDynamicClientInfo(const std::string& networkId, ClientList& clients) const;
    /// Appends one byte per "-"-separated token: the low byte of its hexadecimal number, 00 for a
    /// token that has none, FF for one that exceeds 31 bits. Never fails.
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
