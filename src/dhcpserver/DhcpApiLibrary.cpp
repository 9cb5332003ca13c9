#include "dhcpserver/DhcpApiLibrary.h"

namespace {

void Free(void* block) {
    if (block)
        CDhcpApiLibrary::Instance().FreeMemory(block);
}

}  // namespace

CDhcpApiLibrary& CDhcpApiLibrary::Instance() {
    static CDhcpApiLibrary instance;
    return instance;
}

void DhcpRecordFree::operator()(DHCP_SUBNET_INFO* info) const {
    Free(info->SubnetName);
    Free(info->SubnetComment);
    Free(info->PrimaryHost.NetBiosName);
    Free(info->PrimaryHost.HostName);
    Free(info);
}

void DhcpRecordFree::operator()(DHCP_CLIENT_INFO_ARRAY_V4* clients) const {
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
