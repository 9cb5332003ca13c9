// Records of the DHCP Server Management API (dhcpsapi.dll) that this tool uses, declared from
// Microsoft's public reference. Do not include mingw-w64's dhcpsapi.h: it does not compile for
// current Windows versions and lacks the V4 records. Unused enumerators are left out. Addresses are
// 32-bit numbers in host order (192.168.1.0 is 0xC0A80100) unless a member says otherwise. Texts
// are UTF-16 and may be null.
#pragma once

#include <windows.h>

#include <cstddef>

using DHCP_IP_ADDRESS = DWORD;
using DHCP_IP_MASK = DWORD;
using DHCP_OPTION_ID = DWORD;
using DHCP_RESUME_HANDLE = DWORD;

/// A FILETIME value in two halves: 100 ns units since 1601-01-01 UTC.
struct DATE_TIME {
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
};

/// The creator of the record owns the bytes.
struct DHCP_BINARY_DATA {
    DWORD DataLength;  // bytes
    BYTE* Data;
};
using DHCP_CLIENT_UID = DHCP_BINARY_DATA;

struct DHCP_HOST_INFO {
    DHCP_IP_ADDRESS IpAddress;  // network order when the server returns it
    LPWSTR NetBiosName;
    LPWSTR HostName;
};

enum DHCP_SUBNET_STATE : DWORD { DhcpSubnetEnabled = 0 };

struct DHCP_SUBNET_INFO {
    DHCP_IP_ADDRESS SubnetAddress;
    DHCP_IP_MASK SubnetMask;
    LPWSTR SubnetName;
    LPWSTR SubnetComment;
    DHCP_HOST_INFO PrimaryHost;
    DHCP_SUBNET_STATE SubnetState;
};

enum DHCP_SUBNET_ELEMENT_TYPE : DWORD {
    DhcpIpRanges = 0,
    DhcpReservedIps = 2,
    DhcpExcludedIpRanges = 3
};

/// First and last address, both included.
struct DHCP_IP_RANGE {
    DHCP_IP_ADDRESS StartAddress;
    DHCP_IP_ADDRESS EndAddress;
};

/// Client types, the values of bClientType and bAllowedClientTypes.
inline constexpr BYTE CLIENT_TYPE_DHCP = 1;
inline constexpr BYTE CLIENT_TYPE_BOTH = 3;  // DHCP or BOOTP
inline constexpr BYTE CLIENT_TYPE_NONE = 100;

struct DHCP_IP_RESERVATION_V4 {
    DHCP_IP_ADDRESS ReservedIpAddress;
    DHCP_CLIENT_UID* ReservedForClient;
    BYTE bAllowedClientTypes;
};

struct DHCP_SUBNET_ELEMENT_DATA_V4 {
    DHCP_SUBNET_ELEMENT_TYPE ElementType;
    union {
        DHCP_IP_RANGE* IpRange;
        DHCP_IP_RESERVATION_V4* ReservedIp;
    } Element;
};

enum DHCP_FORCE_FLAG : DWORD { DhcpFullForce = 0 };

enum DHCP_OPTION_SCOPE_TYPE : DWORD { DhcpSubnetOptions = 2 };

struct DHCP_RESERVED_SCOPE {
    DHCP_IP_ADDRESS ReservedIpAddress;
    DHCP_IP_ADDRESS ReservedIpSubnetAddress;
};

struct DHCP_OPTION_SCOPE_INFO {
    DHCP_OPTION_SCOPE_TYPE ScopeType;
    union {
        void* GlobalScopeInfo;
        DHCP_IP_ADDRESS SubnetScopeInfo;
        DHCP_RESERVED_SCOPE ReservedScopeInfo;
    } ScopeInfo;
};

enum DHCP_OPTION_DATA_TYPE : DWORD { DhcpDWordOption = 2, DhcpIpAddressOption = 4 };

struct DHCP_OPTION_DATA_ELEMENT {
    DHCP_OPTION_DATA_TYPE OptionType;
    union {
        DWORD DWordOption;
        DHCP_IP_ADDRESS IpAddressOption;
        DHCP_BINARY_DATA BinaryDataOption;
    } Element;
};

struct DHCP_OPTION_DATA {
    DWORD NumElements;
    DHCP_OPTION_DATA_ELEMENT* Elements;
};

struct DHCP_CLIENT_INFO_V4 {
    DHCP_IP_ADDRESS ClientIpAddress;
    DHCP_IP_MASK SubnetMask;
    DHCP_CLIENT_UID ClientHardwareAddress;
    LPWSTR ClientName;
    LPWSTR ClientComment;
    DATE_TIME ClientLeaseExpires;
    DHCP_HOST_INFO OwnerHost;
    BYTE bClientType;
};

struct DHCP_CLIENT_INFO_ARRAY_V4 {
    DWORD NumElements;
    DHCP_CLIENT_INFO_V4** Clients;
};

// The layout of the records in the 64-bit dhcpsapi.dll.
static_assert(sizeof(DHCP_HOST_INFO) == 24 && offsetof(DHCP_HOST_INFO, HostName) == 16);
static_assert(sizeof(DHCP_SUBNET_INFO) == 56 && offsetof(DHCP_SUBNET_INFO, PrimaryHost) == 24 &&
              offsetof(DHCP_SUBNET_INFO, SubnetState) == 48);
static_assert(sizeof(DHCP_IP_RANGE) == 8);
static_assert(sizeof(DHCP_IP_RESERVATION_V4) == 24 &&
              offsetof(DHCP_IP_RESERVATION_V4, ReservedForClient) == 8 &&
              offsetof(DHCP_IP_RESERVATION_V4, bAllowedClientTypes) == 16);
static_assert(sizeof(DHCP_SUBNET_ELEMENT_DATA_V4) == 16 &&
              offsetof(DHCP_SUBNET_ELEMENT_DATA_V4, Element) == 8);
static_assert(sizeof(DHCP_OPTION_SCOPE_INFO) == 16 &&
              offsetof(DHCP_OPTION_SCOPE_INFO, ScopeInfo) == 8);
static_assert(sizeof(DHCP_OPTION_DATA_ELEMENT) == 24 &&
              offsetof(DHCP_OPTION_DATA_ELEMENT, Element) == 8);
static_assert(sizeof(DHCP_OPTION_DATA) == 16 && offsetof(DHCP_OPTION_DATA, Elements) == 8);
static_assert(sizeof(DHCP_CLIENT_INFO_V4) == 80 &&
              offsetof(DHCP_CLIENT_INFO_V4, ClientHardwareAddress) == 8 &&
              offsetof(DHCP_CLIENT_INFO_V4, ClientName) == 24 &&
              offsetof(DHCP_CLIENT_INFO_V4, ClientLeaseExpires) == 40 &&
              offsetof(DHCP_CLIENT_INFO_V4, OwnerHost) == 48 &&
              offsetof(DHCP_CLIENT_INFO_V4, bClientType) == 72);
static_assert(sizeof(DHCP_CLIENT_INFO_ARRAY_V4) == 16 &&
              offsetof(DHCP_CLIENT_INFO_ARRAY_V4, Clients) == 8);
