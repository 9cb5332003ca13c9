#include "RecordingServer.h"

#include <cstdlib>

#include "dhcpserver/DhcpApi.h"

namespace {

RecordingServer server;

std::string Narrow(const WCHAR* text) {
    return text ? std::string(text, text + std::wcslen(text)) : "null";
}

DWORD Record(const char* call, const WCHAR* to, const std::string& more = "") {
    server.calls += std::string(call) + " " + Narrow(to) + more + "\n";
    return ERROR_SUCCESS;
}

void* Block(std::size_t bytes) {
    ++server.blocks;
    return std::calloc(1, bytes);
}

}  // namespace

#define TEST_EXPORT extern "C" __declspec(dllexport)

TEST_EXPORT RecordingServer& GetRecordingServer() {
    return server;
}
TEST_EXPORT DWORD WINAPI DhcpCreateSubnet(const WCHAR* to, DWORD, const DHCP_SUBNET_INFO* info) {
    return Record("subnet", to, " " + Narrow(info->SubnetName));
}
TEST_EXPORT DWORD WINAPI DhcpGetSubnetInfo(const WCHAR*, DWORD, DHCP_SUBNET_INFO**) {
    return 20005;
}
TEST_EXPORT DWORD WINAPI DhcpAddSubnetElementV4(const WCHAR* to, DWORD,
                                                const DHCP_SUBNET_ELEMENT_DATA_V4* element) {
    return Record("add", to, " " + std::to_string(element->ElementType));
}
TEST_EXPORT DWORD WINAPI DhcpRemoveSubnetElementV4(const WCHAR* to, DWORD,
                                                   const DHCP_SUBNET_ELEMENT_DATA_V4*,
                                                   DHCP_FORCE_FLAG) {
    return Record("remove", to);
}
TEST_EXPORT DWORD WINAPI DhcpSetOptionValue(const WCHAR* to, DWORD option,
                                            const DHCP_OPTION_SCOPE_INFO*,
                                            const DHCP_OPTION_DATA*) {
    return Record("option", to, " " + std::to_string(option));
}
TEST_EXPORT DWORD WINAPI DhcpCreateClientInfoV4(const WCHAR* to, const DHCP_CLIENT_INFO_V4* info) {
    return Record("client", to, " " + Narrow(info->ClientName) + " " + Narrow(info->ClientComment));
}
TEST_EXPORT DWORD WINAPI DhcpEnumSubnetClientsV4(const WCHAR*, DWORD, DWORD* resume, DWORD,
                                                 DHCP_CLIENT_INFO_ARRAY_V4** clients, DWORD* read,
                                                 DWORD* total) {
    const Page& page = server.pages[std::min(server.rounds, server.pages.size() - 1)];
    ++server.rounds;
    *read = *total = 0;  // must be ignored: the array has its own count
    *resume = page.resume;
    auto* const array = static_cast<DHCP_CLIENT_INFO_ARRAY_V4*>(Block(sizeof(**clients)));
    array->Clients = static_cast<DHCP_CLIENT_INFO_V4**>(Block(16 * sizeof(void*)));
    array->NumElements = 1;  // the first pointer is null
    for (; array->NumElements <= static_cast<DWORD>(page.clients); ++array->NumElements) {
        auto* const client = static_cast<DHCP_CLIENT_INFO_V4*>(Block(sizeof(DHCP_CLIENT_INFO_V4)));
        client->OwnerHost.HostName = static_cast<WCHAR*>(Block(sizeof(WCHAR)));
        array->Clients[array->NumElements] = client;
    }
    *clients = array;
    return page.error;
}
TEST_EXPORT void WINAPI DhcpRpcFreeMemory(void* block) {
    server.blocks -= block ? 1 : 0;
    std::free(block);
}
