// The records and calls of the DHCP Server Management API (dhcpsapi.dll) that this tool uses.
//
// Declared here from Microsoft's public reference because mingw-w64's dhcpsapi.h neither compiles
// at current Windows versions nor holds the V4 records. Never include that header beside this one.
// Addresses are 32-bit numbers in host order (192.168.1.0 is 0xC0A80100), unless a member says
// otherwise. Texts are UTF-16 and may be null.
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

/// Bytes owned by whoever filled the record.
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

enum DHCP_SUBNET_STATE : DWORD { DhcpSubnetEnabled = 0, DhcpSubnetDisabled = 1 };

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
    DhcpSecondaryHosts = 1,
    DhcpReservedIps = 2,
    DhcpExcludedIpRanges = 3,
    DhcpIpUsedClusters = 4,
    DhcpIpRangesDhcpOnly = 5,
    DhcpIpRangesDhcpBootp = 6,
    DhcpIpRangesBootpOnly = 7
};

/// First and last address, both included.
struct DHCP_IP_RANGE {
    DHCP_IP_ADDRESS StartAddress;
    DHCP_IP_ADDRESS EndAddress;
};

/// Kinds of client, as bClientType and bAllowedClientTypes hold them.
inline constexpr BYTE CLIENT_TYPE_UNSPECIFIED = 0;
inline constexpr BYTE CLIENT_TYPE_DHCP = 1;
inline constexpr BYTE CLIENT_TYPE_BOOTP = 2;
inline constexpr BYTE CLIENT_TYPE_BOTH = 3;
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
        DHCP_HOST_INFO* SecondaryHost;
        DHCP_IP_RESERVATION_V4* ReservedIp;
        DHCP_IP_RANGE* ExcludeIpRange;
        void* IpUsedCluster;
    } Element;
};

enum DHCP_FORCE_FLAG : DWORD { DhcpFullForce = 0, DhcpNoForce = 1 };

enum DHCP_OPTION_SCOPE_TYPE : DWORD {
    DhcpDefaultOptions = 0,
    DhcpGlobalOptions = 1,
    DhcpSubnetOptions = 2,
    DhcpReservedOptions = 3
};

struct DHCP_RESERVED_SCOPE {
    DHCP_IP_ADDRESS ReservedIpAddress;
    DHCP_IP_ADDRESS ReservedIpSubnetAddress;
};

struct DHCP_OPTION_SCOPE_INFO {
    DHCP_OPTION_SCOPE_TYPE ScopeType;
    union {
        void* DefaultScopeInfo;
        void* GlobalScopeInfo;
        DHCP_IP_ADDRESS SubnetScopeInfo;
        DHCP_RESERVED_SCOPE ReservedScopeInfo;
        LPWSTR MScopeInfo;
    } ScopeInfo;
};

enum DHCP_OPTION_DATA_TYPE : DWORD {
    DhcpByteOption = 0,
    DhcpWordOption = 1,
    DhcpDWordOption = 2,
    DhcpDWordDWordOption = 3,
    DhcpIpAddressOption = 4,
    DhcpStringDataOption = 5
};

struct DHCP_OPTION_DATA_ELEMENT {
    DHCP_OPTION_DATA_TYPE OptionType;
    union {
        BYTE ByteOption;
        WORD WordOption;
        DWORD DWordOption;
        ULONGLONG DWordDWordOption;
        DHCP_IP_ADDRESS IpAddressOption;
        LPWSTR StringDataOption;
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

// The layout the server's side of the calls was compiled with, on 64-bit Windows.
static_assert(sizeof(void*) == 8, "the layouts below are those of 64-bit Windows");
static_assert(sizeof(DHCP_HOST_INFO) == 24 && offsetof(DHCP_HOST_INFO, HostName) == 16, "");
static_assert(sizeof(DHCP_SUBNET_INFO) == 56 && offsetof(DHCP_SUBNET_INFO, PrimaryHost) == 24 &&
                  offsetof(DHCP_SUBNET_INFO, SubnetState) == 48,
              "");
static_assert(sizeof(DHCP_IP_RANGE) == 8, "");
static_assert(sizeof(DHCP_IP_RESERVATION_V4) == 24 &&
                  offsetof(DHCP_IP_RESERVATION_V4, ReservedForClient) == 8 &&
                  offsetof(DHCP_IP_RESERVATION_V4, bAllowedClientTypes) == 16,
              "");
static_assert(sizeof(DHCP_SUBNET_ELEMENT_DATA_V4) == 16 &&
                  offsetof(DHCP_SUBNET_ELEMENT_DATA_V4, Element) == 8,
              "");
static_assert(sizeof(DHCP_OPTION_SCOPE_INFO) == 16 &&
                  offsetof(DHCP_OPTION_SCOPE_INFO, ScopeInfo) == 8,
              "");
static_assert(sizeof(DHCP_OPTION_DATA_ELEMENT) == 24 &&
                  offsetof(DHCP_OPTION_DATA_ELEMENT, Element) == 8,
              "");
static_assert(sizeof(DHCP_OPTION_DATA) == 16 && offsetof(DHCP_OPTION_DATA, Elements) == 8, "");
static_assert(sizeof(DHCP_CLIENT_INFO_V4) == 80 &&
                  offsetof(DHCP_CLIENT_INFO_V4, ClientHardwareAddress) == 8 &&
                  offsetof(DHCP_CLIENT_INFO_V4, ClientName) == 24 &&
                  offsetof(DHCP_CLIENT_INFO_V4, ClientLeaseExpires) == 40 &&
                  offsetof(DHCP_CLIENT_INFO_V4, OwnerHost) == 48 &&
                  offsetof(DHCP_CLIENT_INFO_V4, bClientType) == 72,
              "");
static_assert(sizeof(DHCP_CLIENT_INFO_ARRAY_V4) == 16 &&
                  offsetof(DHCP_CLIENT_INFO_ARRAY_V4, Clients) == 8,
              "");

// The numbers that go over the wire.
static_assert(DhcpSubnetEnabled == 0 && DhcpSubnetDisabled == 1, "");
static_assert(DhcpIpRanges == 0 && DhcpSecondaryHosts == 1 && DhcpReservedIps == 2 &&
                  DhcpExcludedIpRanges == 3 && DhcpIpUsedClusters == 4 &&
                  DhcpIpRangesDhcpOnly == 5 && DhcpIpRangesDhcpBootp == 6 &&
                  DhcpIpRangesBootpOnly == 7,
              "");
static_assert(CLIENT_TYPE_UNSPECIFIED == 0 && CLIENT_TYPE_DHCP == 1 && CLIENT_TYPE_BOOTP == 2 &&
                  CLIENT_TYPE_BOTH == 3 && CLIENT_TYPE_NONE == 100,
              "");
static_assert(DhcpFullForce == 0 && DhcpNoForce == 1, "");
static_assert(DhcpDefaultOptions == 0 && DhcpGlobalOptions == 1 && DhcpSubnetOptions == 2 &&
                  DhcpReservedOptions == 3,
              "");
static_assert(DhcpByteOption == 0 && DhcpWordOption == 1 && DhcpDWordOption == 2 &&
                  DhcpDWordDWordOption == 3 && DhcpIpAddressOption == 4 &&
                  DhcpStringDataOption == 5,
              "");

// Signatures. Each call but the last returns a Win32 error code, 0 when done; the server argument
// is a dotted address or a host name. Blocks the calls return are released block by block:
// DhcpRpcFreeMemory frees the one block it is given and nothing that this block points to.
using DhcpCreateSubnetFn = DWORD WINAPI(const WCHAR* server, DHCP_IP_ADDRESS subnetAddress,
                                        const DHCP_SUBNET_INFO* subnetInfo);
using DhcpGetSubnetInfoFn = DWORD WINAPI(const WCHAR* server, DHCP_IP_ADDRESS subnetAddress,
                                         DHCP_SUBNET_INFO** subnetInfo);
using DhcpAddSubnetElementV4Fn = DWORD WINAPI(const WCHAR* server, DHCP_IP_ADDRESS subnetAddress,
                                              const DHCP_SUBNET_ELEMENT_DATA_V4* element);
using DhcpRemoveSubnetElementV4Fn = DWORD WINAPI(const WCHAR* server, DHCP_IP_ADDRESS subnetAddress,
                                                 const DHCP_SUBNET_ELEMENT_DATA_V4* element,
                                                 DHCP_FORCE_FLAG forceFlag);
using DhcpSetOptionValueFn = DWORD WINAPI(const WCHAR* server, DHCP_OPTION_ID optionId,
                                          const DHCP_OPTION_SCOPE_INFO* scopeInfo,
                                          const DHCP_OPTION_DATA* optionValue);
using DhcpCreateClientInfoV4Fn = DWORD WINAPI(const WCHAR* server,
                                              const DHCP_CLIENT_INFO_V4* clientInfo);
using DhcpEnumSubnetClientsV4Fn = DWORD WINAPI(const WCHAR* server, DHCP_IP_ADDRESS subnetAddress,
                                               DHCP_RESUME_HANDLE* resumeHandle,
                                               DWORD preferredMaximum,
                                               DHCP_CLIENT_INFO_ARRAY_V4** clientInfo,
                                               DWORD* clientsRead, DWORD* clientsTotal);
using DhcpRpcFreeMemoryFn = void WINAPI(void* block);
