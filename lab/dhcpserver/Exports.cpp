// dhcpsapi.dll: the calls of the management API, as this machine's own server answers them.
#include <memory>
#include <type_traits>

#include "lab/dhcpserver/AddressText.h"
#include "lab/dhcpserver/CallText.h"
#include "lab/dhcpserver/DhcpServer.h"
#include "lab/journal/Journal.h"

namespace lab {
namespace {

std::unique_ptr<DhcpServer> theServer;  // from the first call to the unloading of the DLL

DhcpServer& Server() {
    static std::once_flag made;
    std::call_once(made, [] { theServer = std::make_unique<DhcpServer>(); });
    return *theServer;
}

std::string SubnetText(DWORD subnetAddress) {
    return " subnet=" + Dotted(subnetAddress);
}

void Misuse(const char* function, const std::string& what) {
    JournalMisuse(std::string(function) + ": " + what);
}

/// Journals what the server takes without a word, although no careful caller passes it.
void CheckElement(const char* function, const DHCP_SUBNET_ELEMENT_DATA_V4* element) {
    if (!element || !element->Element.IpRange)
        Misuse(function, "null element");
    else if (element->ElementType == DhcpReservedIps &&
             (element->Element.ReservedIp->bAllowedClientTypes < CLIENT_TYPE_DHCP ||
              element->Element.ReservedIp->bAllowedClientTypes > CLIENT_TYPE_BOTH))
        Misuse(function, "allowed client types other than 1, 2, 3");
}

/// The network order of an address on a little-endian machine.
DWORD NetworkOrder(DWORD address) {
    return address >> 24 | (address >> 8 & 0xFF00) | (address << 8 & 0xFF0000) | address << 24;
}

DHCP_CLIENT_INFO_V4* MakeRecord(RpcMemory& memory, DWORD address, DWORD mask,
                                const Client& client) {
    auto* const record = memory.Allocate<DHCP_CLIENT_INFO_V4>();
    const std::string_view hardware =
        std::string_view(client.uniqueId).substr(kUniqueIdPrefixBytes);
    record->ClientIpAddress = address;
    record->SubnetMask = mask;
    record->ClientHardwareAddress = {static_cast<DWORD>(hardware.size()), memory.Copy(hardware)};
    record->ClientName = memory.Copy(client.name);
    record->ClientComment = memory.Copy(client.comment);
    record->ClientLeaseExpires = {static_cast<DWORD>(client.expires),
                                  static_cast<DWORD>(client.expires >> 32)};
    record->OwnerHost.IpAddress = client.ownerAddress;
    record->OwnerHost.NetBiosName = memory.Copy(client.ownerName);
    record->bClientType = client.type;
    return record;
}

}  // namespace
}  // namespace lab

using namespace lab;

extern "C" {

DWORD WINAPI DhcpCreateSubnet(const WCHAR* server, DHCP_IP_ADDRESS subnetAddress,
                              const DHCP_SUBNET_INFO* subnetInfo) {
    return Server().Call(
        "DhcpCreateSubnet", server, [&] { return SubnetInfoText(subnetAddress, subnetInfo); },
        [&](ServerRules& rules) { return rules.CreateSubnet(subnetAddress, subnetInfo); });
}

DWORD WINAPI DhcpGetSubnetInfo(const WCHAR* server, DHCP_IP_ADDRESS subnetAddress,
                               DHCP_SUBNET_INFO** subnetInfo) {
    constexpr DWORD kLoopback = 0x7F000001;
    return Server().Call(
        "DhcpGetSubnetInfo", server, [&] { return SubnetText(subnetAddress); },
        [&](ServerRules& rules) -> DWORD {
            if (!subnetInfo) {
                Misuse("DhcpGetSubnetInfo", "null output");
                return ERROR_INVALID_PARAMETER;
            }
            const Scope* scope = nullptr;
            const DWORD code = rules.GetSubnetInfo(subnetAddress, scope);
            if (scope) {
                RpcMemory& memory = Server().Memory();
                auto* const info = memory.Allocate<DHCP_SUBNET_INFO>();
                info->SubnetAddress = subnetAddress;
                info->SubnetMask = scope->mask;
                info->SubnetName = memory.Copy(scope->name);
                info->SubnetComment = memory.Copy(scope->comment);
                // Without host texts: the API allows it, so a caller must stand it.
                info->PrimaryHost.IpAddress = NetworkOrder(kLoopback);
                info->SubnetState = static_cast<DHCP_SUBNET_STATE>(scope->state);
                *subnetInfo = info;
            }
            return code;
        });
}

DWORD WINAPI DhcpAddSubnetElementV4(const WCHAR* server, DHCP_IP_ADDRESS subnetAddress,
                                    const DHCP_SUBNET_ELEMENT_DATA_V4* element) {
    constexpr char kName[] = "DhcpAddSubnetElementV4";
    CheckElement(kName, element);
    return Server().Call(
        kName, server, [&] { return SubnetText(subnetAddress) + ElementText(element); },
        [&](ServerRules& rules) {
            return element ? rules.AddElement(subnetAddress, *element)
                           : DWORD{ERROR_INVALID_PARAMETER};
        });
}

DWORD WINAPI DhcpRemoveSubnetElementV4(const WCHAR* server, DHCP_IP_ADDRESS subnetAddress,
                                       const DHCP_SUBNET_ELEMENT_DATA_V4* element,
                                       DHCP_FORCE_FLAG forceFlag) {
    constexpr char kName[] = "DhcpRemoveSubnetElementV4";
    constexpr DWORD kLastForceFlag = 2;
    CheckElement(kName, element);
    if (forceFlag > kLastForceFlag)
        Misuse(kName, "unknown force flag");
    return Server().Call(
        kName, server,
        [&] {
            return SubnetText(subnetAddress) + ElementText(element) +
                   " force=" + std::to_string(forceFlag);
        },
        [&](ServerRules& rules) {
            return element ? rules.RemoveElement(subnetAddress, *element, forceFlag)
                           : DWORD{ERROR_INVALID_PARAMETER};
        });
}

DWORD WINAPI DhcpSetOptionValue(const WCHAR* server, DHCP_OPTION_ID optionId,
                                const DHCP_OPTION_SCOPE_INFO* scopeInfo,
                                const DHCP_OPTION_DATA* optionValue) {
    constexpr char kName[] = "DhcpSetOptionValue";
    if (!scopeInfo || !optionValue)
        Misuse(kName, "null argument");
    else if (scopeInfo->ScopeType <= DhcpGlobalOptions && scopeInfo->ScopeInfo.DefaultScopeInfo)
        Misuse(kName, "reserved field not null");
    const std::string warning = OptionWarning(optionId, optionValue);
    if (!warning.empty())
        Journal("WARNING DhcpSetOptionValue: " + warning);
    return Server().Call(
        kName, server,
        [&] {
            return " option=" + std::to_string(optionId) + OptionScopeText(scopeInfo) +
                   OptionValueText(optionValue);
        },
        [&](ServerRules& rules) {
            return scopeInfo && optionValue
                       ? rules.SetOptionValue(optionId, *scopeInfo, *optionValue)
                       : DWORD{ERROR_INVALID_PARAMETER};
        });
}

DWORD WINAPI DhcpCreateClientInfoV4(const WCHAR* server, const DHCP_CLIENT_INFO_V4* clientInfo) {
    constexpr char kName[] = "DhcpCreateClientInfoV4";
    if (!clientInfo)
        Misuse(kName, "null argument");
    else if (clientInfo->OwnerHost.NetBiosName || clientInfo->OwnerHost.HostName)
        Misuse(kName, "owner names are the server's to fill");
    return Server().Call(
        kName, server, [&] { return ClientInfoText(clientInfo); },
        [&](ServerRules& rules) {
            return clientInfo ? rules.CreateClient(server, *clientInfo)
                              : DWORD{ERROR_INVALID_PARAMETER};
        });
}

DWORD WINAPI DhcpEnumSubnetClientsV4(const WCHAR* server, DHCP_IP_ADDRESS subnetAddress,
                                     DHCP_RESUME_HANDLE* resumeHandle, DWORD preferredMaximum,
                                     DHCP_CLIENT_INFO_ARRAY_V4** clientInfo, DWORD* clientsRead,
                                     DWORD* clientsTotal) {
    constexpr char kName[] = "DhcpEnumSubnetClientsV4";
    const bool isComplete = resumeHandle && clientInfo && clientsRead && clientsTotal;
    if (!isComplete)
        Misuse(kName, "null output");
    const DWORD resume = resumeHandle ? *resumeHandle : 0;
    bool isAnswered = false;
    return Server().Call(
        kName, server,
        [&] {
            return SubnetText(subnetAddress) + " resume=" + Dotted(resume) +
                   " preferred=" + std::to_string(preferredMaximum);
        },
        [&](ServerRules& rules) -> DWORD {
            if (!isComplete)
                return ERROR_INVALID_PARAMETER;
            ClientPage page;
            const DWORD code = rules.EnumClients(subnetAddress, resume, preferredMaximum, page);
            RpcMemory& memory = Server().Memory();
            DHCP_CLIENT_INFO_ARRAY_V4* array = nullptr;
            if (page.hasArray)
                array = memory.Allocate<DHCP_CLIENT_INFO_ARRAY_V4>();
            if (!page.clients.empty()) {
                array->Clients = static_cast<DHCP_CLIENT_INFO_V4**>(
                    memory.Allocate(page.clients.size() * sizeof(void*)));
                for (const auto& found : page.clients)
                    array->Clients[array->NumElements++] =
                        MakeRecord(memory, found.address, found.mask, *found.client);
            }
            *clientInfo = array;
            *clientsRead = static_cast<DWORD>(page.clients.size());
            *clientsTotal = page.total;
            *resumeHandle = page.resume;
            isAnswered = true;
            return code;
        },
        [&] {
            return isAnswered ? " read=" + std::to_string(*clientsRead) +
                                    " total=" + std::to_string(*clientsTotal) +
                                    " resume=" + Dotted(*resumeHandle)
                              : std::string();
        });
}

void WINAPI DhcpRpcFreeMemory(void* block) {
    Server().Free(block);
}

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_DETACH) {
        // While the journal still works: it is a static of this DLL, and those go after this.
        theServer.reset();
    }
    return TRUE;
}

}  // extern "C"

// The program and its stand-in server were compiled against the same calls.
static_assert(std::is_same_v<decltype(DhcpCreateSubnet), DhcpCreateSubnetFn>);
static_assert(std::is_same_v<decltype(DhcpGetSubnetInfo), DhcpGetSubnetInfoFn>);
static_assert(std::is_same_v<decltype(DhcpAddSubnetElementV4), DhcpAddSubnetElementV4Fn>);
static_assert(std::is_same_v<decltype(DhcpRemoveSubnetElementV4), DhcpRemoveSubnetElementV4Fn>);
static_assert(std::is_same_v<decltype(DhcpSetOptionValue), DhcpSetOptionValueFn>);
static_assert(std::is_same_v<decltype(DhcpCreateClientInfoV4), DhcpCreateClientInfoV4Fn>);
static_assert(std::is_same_v<decltype(DhcpEnumSubnetClientsV4), DhcpEnumSubnetClientsV4Fn>);
static_assert(std::is_same_v<decltype(DhcpRpcFreeMemory), DhcpRpcFreeMemoryFn>);
