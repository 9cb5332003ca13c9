#include "dhcpserver/DhcpApiLibrary.h"

CDhcpApiLibrary& CDhcpApiLibrary::Instance() {
    static CDhcpApiLibrary instance;
    return instance;
}

void CDhcpApiLibrary::Free(void* block) {
    if (block)
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
