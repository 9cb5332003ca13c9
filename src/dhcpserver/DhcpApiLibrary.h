#pragma once

#include "dhcpserver/DhcpApi.h"
#include "win/RuntimeLibrary.h"

/// Loads dhcpsapi.dll on the first call, because exports, repairs and batch files must also run on
/// a gateway without the DHCP management tools. If the library or one of its entries is missing,
/// every call returns the system's code (126 or 127): a clean-up that could remove but not create
/// must not begin. Calls return a Win32 code, 0 on success. server: dotted address or host name.
class CDhcpApiLibrary : public CRuntimeLibrary {
public:
    static CDhcpApiLibrary& Instance();

    CEntry<DWORD(const WCHAR* server, DHCP_IP_ADDRESS subnet, const DHCP_SUBNET_INFO* info)>
        CreateSubnet{*this, "DhcpCreateSubnet"};
    /// The caller owns the returned record: DhcpRecordFree.
    CEntry<DWORD(const WCHAR* server, DHCP_IP_ADDRESS subnet, DHCP_SUBNET_INFO** info)>
        GetSubnetInfo{*this, "DhcpGetSubnetInfo"};
    CEntry<DWORD(const WCHAR* server, DHCP_IP_ADDRESS subnet,
                 const DHCP_SUBNET_ELEMENT_DATA_V4* element)>
        AddSubnetElement{*this, "DhcpAddSubnetElementV4"};
    CEntry<DWORD(const WCHAR* server, DHCP_IP_ADDRESS subnet,
                 const DHCP_SUBNET_ELEMENT_DATA_V4* element, DHCP_FORCE_FLAG force)>
        RemoveSubnetElement{*this, "DhcpRemoveSubnetElementV4"};
    CEntry<DWORD(const WCHAR* server, DHCP_OPTION_ID optionId, const DHCP_OPTION_SCOPE_INFO* scope,
                 const DHCP_OPTION_DATA* value)>
        SetOptionValue{*this, "DhcpSetOptionValue"};
    CEntry<DWORD(const WCHAR* server, const DHCP_CLIENT_INFO_V4* client)> CreateClientInfo{
        *this, "DhcpCreateClientInfoV4"};
    /// The caller owns the returned array: DhcpRecordFree.
    CEntry<DWORD(const WCHAR* server, DHCP_IP_ADDRESS subnet, DHCP_RESUME_HANDLE* resume,
                 DWORD preferredMaximum, DHCP_CLIENT_INFO_ARRAY_V4** clients, DWORD* clientsRead,
                 DWORD* clientsTotal)>
        EnumSubnetClients{*this, "DhcpEnumSubnetClientsV4"};

    /// Frees only this block, not the blocks it points to.
    CEntry<void(void* block)> FreeMemory{*this, "DhcpRpcFreeMemory"};

private:
    CDhcpApiLibrary() : CRuntimeLibrary("dhcpsapi.dll", kSystemLibrary) {}
};

/// Frees a record and every block it points to.
struct DhcpRecordFree {
    void operator()(DHCP_SUBNET_INFO* info) const;
    void operator()(DHCP_CLIENT_INFO_ARRAY_V4* clients) const;
};
