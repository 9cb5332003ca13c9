#pragma once

#include "dhcpserver/DhcpApi.h"
#include "diagtools/RuntimeLibrary.h"

/// dhcpsapi.dll, loaded when the first call needs it: exports, repairs and batch files must work on
/// a gateway without the DHCP management tools. When the library or one of its entries is missing,
/// every call answers the system's error code for that (126 or 127): a clean-up that could remove
/// but not create must not begin.
class CDhcpApiLibrary {
public:
    static CDhcpApiLibrary& Instance();
    CDhcpApiLibrary(const CDhcpApiLibrary&) = delete;
    CDhcpApiLibrary& operator=(const CDhcpApiLibrary&) = delete;

    DWORD CreateSubnet(const WCHAR* server, DHCP_IP_ADDRESS subnet, const DHCP_SUBNET_INFO* info) {
        return Call<DhcpCreateSubnetFn>(kCreateSubnet, server, subnet, info);
    }
    /// The record, when there is one, is freed with FreeSubnetInfo.
    DWORD GetSubnetInfo(const WCHAR* server, DHCP_IP_ADDRESS subnet, DHCP_SUBNET_INFO** info) {
        return Call<DhcpGetSubnetInfoFn>(kGetSubnetInfo, server, subnet, info);
    }
    DWORD AddSubnetElement(const WCHAR* server, DHCP_IP_ADDRESS subnet,
                           const DHCP_SUBNET_ELEMENT_DATA_V4* element) {
        return Call<DhcpAddSubnetElementV4Fn>(kAddSubnetElement, server, subnet, element);
    }
    DWORD RemoveSubnetElement(const WCHAR* server, DHCP_IP_ADDRESS subnet,
                              const DHCP_SUBNET_ELEMENT_DATA_V4* element, DHCP_FORCE_FLAG force) {
        return Call<DhcpRemoveSubnetElementV4Fn>(kRemoveSubnetElement, server, subnet, element,
                                                 force);
    }
    DWORD SetOptionValue(const WCHAR* server, DHCP_OPTION_ID optionId,
                         const DHCP_OPTION_SCOPE_INFO* scope, const DHCP_OPTION_DATA* value) {
        return Call<DhcpSetOptionValueFn>(kSetOptionValue, server, optionId, scope, value);
    }
    DWORD CreateClientInfo(const WCHAR* server, const DHCP_CLIENT_INFO_V4* client) {
        return Call<DhcpCreateClientInfoV4Fn>(kCreateClientInfo, server, client);
    }
    /// The array, when there is one, is freed with FreeClientArray.
    DWORD EnumSubnetClients(const WCHAR* server, DHCP_IP_ADDRESS subnet, DHCP_RESUME_HANDLE* resume,
                            DWORD preferredMaximum, DHCP_CLIENT_INFO_ARRAY_V4** clients,
                            DWORD* clientsRead, DWORD* clientsTotal) {
        return Call<DhcpEnumSubnetClientsV4Fn>(kEnumSubnetClients, server, subnet, resume,
                                               preferredMaximum, clients, clientsRead,
                                               clientsTotal);
    }

    /// These free a record with every block it points to; null is allowed.
    void FreeSubnetInfo(DHCP_SUBNET_INFO* info);
    void FreeClientArray(DHCP_CLIENT_INFO_ARRAY_V4* clients);

private:
    enum Entry {
        kCreateSubnet,
        kGetSubnetInfo,
        kAddSubnetElement,
        kRemoveSubnetElement,
        kSetOptionValue,
        kCreateClientInfo,
        kEnumSubnetClients,
        kFreeMemory,
        kEntryCount
    };

    CDhcpApiLibrary();
    ~CDhcpApiLibrary() = default;

    template <class Function, class... Arguments>
    DWORD Call(Entry entry, Arguments... arguments) {
        const DWORD error = m_library.Load();
        return error ? error : m_library.Entry<Function>(entry)(arguments...);
    }
    void Free(void* block);

    DiagTools::CRuntimeLibrary<kEntryCount> m_library;  // held until the process ends
};
