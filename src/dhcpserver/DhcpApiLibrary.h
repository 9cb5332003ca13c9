#pragma once

#include "dhcpserver/DhcpApi.h"
#include "win/RuntimeLibrary.h"

/// dhcpsapi.dll, loaded when the first call needs it: exports, repairs and batch files must work on
/// a gateway without the DHCP management tools. If the library or one of its entries is missing,
/// every call returns the system's code for that (126 or 127): a clean-up that could remove but not
/// create must not begin.
///
/// Calls return a Win32 error code, 0 when done. The server is a dotted address or a host name.
class CDhcpApiLibrary : public CRuntimeLibrary {
public:
    static CDhcpApiLibrary& Instance();

    CEntry<DWORD(const WCHAR* server, DHCP_IP_ADDRESS subnet, const DHCP_SUBNET_INFO* info)>
        CreateSubnet{*this, "DhcpCreateSubnet"};
    /// A record that is returned is freed with FreeSubnetInfo.
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
    /// An array that is returned is freed with FreeClientArray.
    CEntry<DWORD(const WCHAR* server, DHCP_IP_ADDRESS subnet, DHCP_RESUME_HANDLE* resume,
                 DWORD preferredMaximum, DHCP_CLIENT_INFO_ARRAY_V4** clients, DWORD* clientsRead,
                 DWORD* clientsTotal)>
        EnumSubnetClients{*this, "DhcpEnumSubnetClientsV4"};

    // These free a record with every block it points to; null is allowed.
    void FreeSubnetInfo(DHCP_SUBNET_INFO* info);
    void FreeClientArray(DHCP_CLIENT_INFO_ARRAY_V4* clients);

private:
    CDhcpApiLibrary() : CRuntimeLibrary("dhcpsapi.dll", kSystemLibrary) {}
    void Free(void* block);

    /// Frees the one block it is given and nothing that this block points to.
    CEntry<void(void* block)> m_freeMemory{*this, "DhcpRpcFreeMemory"};
};
