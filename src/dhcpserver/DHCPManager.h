#pragma once

#include <cstdint>
#include <string>

#include "dhcpserver/DHCPClient.h"
#include "dhcpserver/DhcpApi.h"
#include "store/TextConversion.h"

/// A client record as the API takes it, owning all that it points to. Throws when a text can't be
/// converted.
class CClientRecord {
public:
    CClientRecord(const std::string& name, const HardwareAddress& hardwareAddress, DWORD address,
                  DWORD mask, const std::string& comment, const DATE_TIME& leaseExpiry);
    CClientRecord(const CClientRecord&) = delete;
    CClientRecord& operator=(const CClientRecord&) = delete;

    const DHCP_CLIENT_INFO_V4& Info() const { return m_info; }
    const HardwareAddress& Hardware() const { return m_hardwareAddress; }

private:
    CWideText m_name;
    CWideText m_comment;
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
    /// serverAddress: dotted address or host name, as the administrator gave it. Throws when it
    /// can't be converted for the API.
    explicit CDHCPManager(const std::string& serverAddress);
    virtual ~CDHCPManager() = default;

    /// Adds the enabled subnet. A failed GetHostInfo is no obstacle: the primary host stays empty.
    DWORD CreateSubnet(const std::string& scopeName, const std::string& networkId,
                       const std::string& mask, const std::string& comment);
    /// The range covers every host address of the scope.
    DWORD SetupIPRange(const std::string& networkId, const std::string& mask);
    /// Excludes one address from the scope's range.
    DWORD CreateExclusion(const std::string& networkId, const std::string& address);
    DWORD SetRouterOption(const std::string& networkId, const std::string& routerAddress);
    DWORD SetLeaseDuration(const std::string& networkId, std::uint32_t leaseSeconds);
    /// The primary host of the subnet whose id equals the server's own address; on almost every
    /// server there is none. E_FAIL then, and the outputs are untouched.
    HRESULT GetHostInfo(std::string& hostName, std::string& netBiosName, DWORD& ipAddress);
    void DumpSubnetInfo(const DHCP_SUBNET_INFO& info);

    static DWORD GetNetworkAddress(const std::string& address, const std::string& mask);
    static DWORD GetFirstAddress(const std::string& networkId);
    static DWORD GetLastAddress(const std::string& networkId, const std::string& mask);

    /// Creates a client record that leases the address from now on. Reserves nothing.
    DWORD CreateClient(const std::string& name, const std::string& mac, const std::string& address,
                       const std::string& mask, const std::string& comment,
                       std::uint32_t leaseSeconds);
    /// Reserves the address for the MAC in the scope address AND mask.
    DWORD CreateReservation(const std::string& name, const std::string& mac,
                            const std::string& address, const std::string& mask);
    /// Client record, then reservation; the record stays when only the reservation fails. Allocates
    /// nothing, so that what must not fail on our side can be made before: the record.
    DWORD AddNewReservation(const CClientRecord& client, DWORD subnet);
    /// Removes the reservation; where there is none, the server deletes the lease at the address.
    DWORD RemoveClient(const HardwareAddress& hardwareAddress, DWORD address, DWORD subnet);
    /// Appends every client of the scope, of any type; what was read before a failure stays.
    /// ERROR_MORE_DATA when the server promises more but does not go on.
    DWORD GetDynamicClientInfo(const std::string& networkId, ClientList& clients);
    /// Appends one byte per "-"-separated token: the low byte of its hexadecimal number, 00 for a
    /// token that has none, FF for one that exceeds 31 bits. Never fails.
    void ConvertMAC(const std::string& mac, HardwareAddress& bytes);

private:
    DWORD AddElement(DWORD subnet, const DHCP_SUBNET_ELEMENT_DATA_V4& element);
    DWORD AddRangeElement(DWORD subnet, DHCP_SUBNET_ELEMENT_TYPE type, DHCP_IP_RANGE range);
    DWORD SetScopeOption(const std::string& networkId, DHCP_OPTION_ID optionId,
                         DHCP_OPTION_DATA_ELEMENT value);
    DWORD CreateClientInfo(const CClientRecord& client);
    DWORD AddReservationElement(const HardwareAddress& hardwareAddress, DWORD address,
                                DWORD subnet);

    std::string m_serverAddress;
    CWideText m_wideServerAddress;
};
