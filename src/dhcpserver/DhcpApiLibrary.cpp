#include "dhcpserver/DhcpApiLibrary.h"

CDhcpApiLibrary& CDhcpApiLibrary::Instance() {
    static CDhcpApiLibrary instance;
    return instance;
}

DWORD CDhcpApiLibrary::Load() {
    if (!m_tried) {
        m_tried = true;
        m_module = ::LoadLibraryA("dhcpsapi.dll");
        if (!m_module)
            m_loadError = ::GetLastError();
    }
    return m_module ? ERROR_SUCCESS : m_loadError;
}

template <class Function>
DWORD CDhcpApiLibrary::Resolve(const char* name, Function*& entry) {
    if (entry)
        return ERROR_SUCCESS;
    const DWORD error = Load();
    if (error != ERROR_SUCCESS)
        return error;
    entry = reinterpret_cast<Function*>(reinterpret_cast<void*>(::GetProcAddress(m_module, name)));
    return entry ? ERROR_SUCCESS : ::GetLastError();
}

DWORD CDhcpApiLibrary::CreateSubnet(const WCHAR* server, DHCP_IP_ADDRESS subnet,
                                    const DHCP_SUBNET_INFO* info) {
    const DWORD error = Resolve("DhcpCreateSubnet", m_createSubnet);
    return error ? error : m_createSubnet(server, subnet, info);
}

DWORD CDhcpApiLibrary::GetSubnetInfo(const WCHAR* server, DHCP_IP_ADDRESS subnet,
                                     DHCP_SUBNET_INFO** info) {
    const DWORD error = Resolve("DhcpGetSubnetInfo", m_getSubnetInfo);
    return error ? error : m_getSubnetInfo(server, subnet, info);
}

DWORD CDhcpApiLibrary::AddSubnetElement(const WCHAR* server, DHCP_IP_ADDRESS subnet,
                                        const DHCP_SUBNET_ELEMENT_DATA_V4* element) {
    const DWORD error = Resolve("DhcpAddSubnetElementV4", m_addSubnetElement);
    return error ? error : m_addSubnetElement(server, subnet, element);
}

DWORD CDhcpApiLibrary::RemoveSubnetElement(const WCHAR* server, DHCP_IP_ADDRESS subnet,
                                           const DHCP_SUBNET_ELEMENT_DATA_V4* element,
                                           DHCP_FORCE_FLAG force) {
    const DWORD error = Resolve("DhcpRemoveSubnetElementV4", m_removeSubnetElement);
    return error ? error : m_removeSubnetElement(server, subnet, element, force);
}

DWORD CDhcpApiLibrary::SetOptionValue(const WCHAR* server, DHCP_OPTION_ID optionId,
                                      const DHCP_OPTION_SCOPE_INFO* scope,
                                      const DHCP_OPTION_DATA* value) {
    const DWORD error = Resolve("DhcpSetOptionValue", m_setOptionValue);
    return error ? error : m_setOptionValue(server, optionId, scope, value);
}

DWORD CDhcpApiLibrary::CreateClientInfo(const WCHAR* server, const DHCP_CLIENT_INFO_V4* client) {
    const DWORD error = Resolve("DhcpCreateClientInfoV4", m_createClientInfo);
    return error ? error : m_createClientInfo(server, client);
}

DWORD CDhcpApiLibrary::EnumSubnetClients(const WCHAR* server, DHCP_IP_ADDRESS subnet,
                                         DHCP_RESUME_HANDLE* resume, DWORD preferredMaximum,
                                         DHCP_CLIENT_INFO_ARRAY_V4** clients, DWORD* clientsRead,
                                         DWORD* clientsTotal) {
    const DWORD error = Resolve("DhcpEnumSubnetClientsV4", m_enumSubnetClients);
    return error ? error
                 : m_enumSubnetClients(server, subnet, resume, preferredMaximum, clients,
                                       clientsRead, clientsTotal);
}

void CDhcpApiLibrary::Free(void* block) {
    if (block && Resolve("DhcpRpcFreeMemory", m_freeMemory) == ERROR_SUCCESS)
        m_freeMemory(block);
}

void CDhcpApiLibrary::FreeSubnetInfo(DHCP_SUBNET_INFO* info) {
    if (!info)
        return;
    Free(info->SubnetName);
    Free(info->SubnetComment);
    Free(info->PrimaryHost.NetBiosName);
    Free(info->PrimaryHost.HostName);
    Free(info);
}

void CDhcpApiLibrary::FreeClientArray(DHCP_CLIENT_INFO_ARRAY_V4* clients) {
    if (!clients)
        return;
    for (DWORD i = 0; clients->Clients && i < clients->NumElements; ++i) {
        DHCP_CLIENT_INFO_V4* const client = clients->Clients[i];
        if (!client)
            continue;
        Free(client->ClientHardwareAddress.Data);
        Free(client->ClientName);
        Free(client->ClientComment);
        Free(client->OwnerHost.NetBiosName);
        Free(client->OwnerHost.HostName);
        Free(client);
    }
    Free(clients->Clients);
    Free(clients);
}
