#pragma once

#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <string>
#include <vector>

#include "dhcpserver/DhcpApi.h"

/// A hardware address as the server stores it: six bytes for a MAC, but any length is possible.
using HardwareAddress = std::vector<BYTE>;

/// One client as read from the server. Addresses are in host order.
class CDHCPClient {
public:
    std::uint32_t GetIPAddress() const { return m_ipAddress; }
    void SetIPAddress(std::uint32_t address) { m_ipAddress = address; }
    std::uint32_t GetSubnetMask() const { return m_subnetMask; }
    void SetSubnetMask(std::uint32_t mask) { m_subnetMask = mask; }
    const std::string& GetName() const { return m_name; }
    void SetName(const std::string& name) { m_name = name; }
    const std::string& GetComment() const { return m_comment; }
    void SetComment(const std::string& comment) { m_comment = comment; }
    /// A CLIENT_TYPE_ constant; CLIENT_TYPE_NONE for records created by the API or a reservation.
    std::uint8_t GetClientType() const { return m_clientType; }
    void SetClientType(std::uint8_t type) { m_clientType = type; }
    /// A FILETIME value in UTC, as the server returned it; 0 means no lease.
    const DATE_TIME& GetLeaseExpiry() const { return m_leaseExpiry; }
    void SetLeaseExpiry(const DATE_TIME& expiry) { m_leaseExpiry = expiry; }
    const HardwareAddress& GetHardwareAddress() const { return m_hardwareAddress; }
    void SetHardwareAddress(const BYTE* data, std::size_t bytes) {
        m_hardwareAddress.assign(data, data + bytes);
    }

private:
    std::uint32_t m_ipAddress = 0;
    std::uint32_t m_subnetMask = 0;
    std::string m_name;
    std::string m_comment;
    std::uint8_t m_clientType = 0;
    DATE_TIME m_leaseExpiry = {};
    HardwareAddress m_hardwareAddress;
};

using ClientList = std::vector<boost::shared_ptr<CDHCPClient>>;
