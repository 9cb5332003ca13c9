#pragma once

#include "dhcpserver/DhcpApi.h"

/// dhcpsapi.dll, loaded when the first call needs it: exports, repairs and batch files must work on
/// a gateway without the DHCP management tools. When the library or an entry is missing, a call
/// answers the system's error code for that (126 or 127); the library is tried once per run.
class CDhcpApiLibrary {
public:
    static CDhcpApiLibrary& Instance();
    CDhcpApiLibrary(const CDhcpApiLibrary&) = delete;
    CDhcpApiLibrary& operator=(const CDhcpApiLibrary&) = delete;

    DWORD CreateSubnet(const WCHAR* server, DHCP_IP_ADDRESS subnet, const DHCP_SUBNET_INFO* info);
    /// The record, when there is one, is freed with FreeSubnetInfo.
    DWORD GetSubnetInfo(const WCHAR* server, DHCP_IP_ADDRESS subnet, DHCP_SUBNET_INFO** info);
    DWORD AddSubnetElement(const WCHAR* server, DHCP_IP_ADDRESS subnet,
                           const DHCP_SUBNET_ELEMENT_DATA_V4* element);
    DWORD RemoveSubnetElement(const WCHAR* server, DHCP_IP_ADDRESS subnet,
                              const DHCP_SUBNET_ELEMENT_DATA_V4* element, DHCP_FORCE_FLAG force);
    DWORD SetOptionValue(const WCHAR* server, DHCP_OPTION_ID optionId,
                         const DHCP_OPTION_SCOPE_INFO* scope, const DHCP_OPTION_DATA* value);
    DWORD CreateClientInfo(const WCHAR* server, const DHCP_CLIENT_INFO_V4* client);
    /// The array, when there is one, is freed with FreeClientArray.
    DWORD EnumSubnetClients(const WCHAR* server, DHCP_IP_ADDRESS subnet, DHCP_RESUME_HANDLE* resume,
                            DWORD preferredMaximum, DHCP_CLIENT_INFO_ARRAY_V4** clients,
                            DWORD* clientsRead, DWORD* clientsTotal);

    /// These free a record with every block it points to; null is allowed.
    void FreeSubnetInfo(DHCP_SUBNET_INFO* info);
    void FreeClientArray(DHCP_CLIENT_INFO_ARRAY_V4* clients);

private:
    CDhcpApiLibrary() = default;
    ~CDhcpApiLibrary() = default;
    DWORD Load();
    template <class Function>
    DWORD Resolve(const char* name, Function*& entry);
    void Free(void* block);

    bool m_tried = false;
    DWORD m_loadError = 0;
    HMODULE m_module = nullptr;  // held until the process ends

    DhcpCreateSubnetFn* m_createSubnet = nullptr;
    DhcpGetSubnetInfoFn* m_getSubnetInfo = nullptr;
    DhcpAddSubnetElementV4Fn* m_addSubnetElement = nullptr;
    DhcpRemoveSubnetElementV4Fn* m_removeSubnetElement = nullptr;
    DhcpSetOptionValueFn* m_setOptionValue = nullptr;
    DhcpCreateClientInfoV4Fn* m_createClientInfo = nullptr;
    DhcpEnumSubnetClientsV4Fn* m_enumSubnetClients = nullptr;
    DhcpRpcFreeMemoryFn* m_freeMemory = nullptr;
};
