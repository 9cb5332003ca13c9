// dhcpsapi.dll: the calls of the management API, executed on the lab's own server. Requests that
// the program never sends (other elements, options, option levels, force flags) are misuse and
// fail, even where a real server supports them.
#include <memory>

#include "lab/dhcpserver/DhcpServer.h"

namespace lab {
namespace {

std::unique_ptr<DhcpServer> theServer;  // from the first call to the unloading of the DLL

DhcpServer& Server() {
    static std::once_flag made;
    std::call_once(made, [] { theServer = std::make_unique<DhcpServer>(); });
    return *theServer;
}

DWORD Misuse(const char* function, const std::string& what) {
    JournalMisuse(std::string(function) + ": " + what);
    return ERROR_INVALID_PARAMETER;
}

Text TextOf(const WCHAR* text) {
    return text ? Text(text) : std::nullopt;
}

Identifier BytesOf(const api::Binary* binary) {
    return binary && binary->data
               ? Identifier(reinterpret_cast<const char*>(binary->data), binary->bytes)
               : Identifier();
}

// These functions format arguments for the journal, each as " name=value".

std::string AddressText(const char* name, DWORD address) {
    return std::string(" ") + name + "=" + Dotted(address);
}

std::string BytesText(const api::Binary* binary) {
    return " mac=" + (binary && binary->data ? HexBytes(BytesOf(binary), "-") : "null");
}

/// Only the members that are set: callers leave the host out.
std::string HostText(const api::Host& host) {
    return (host.address ? AddressText("host", host.address) : "") +
           (host.netBiosName && *host.netBiosName ? " netbios=" + Quoted(host.netBiosName) : "") +
           (host.hostName && *host.hostName ? " hostname=" + Quoted(host.hostName) : "");
}

std::string ElementText(DWORD subnetAddress, const api::Element* element) {
    const std::string text = AddressText("subnet", subnetAddress) +
                             " type=" + (element ? std::to_string(element->type) : "null");
    if (!element || !element->range)
        return text + " element=null";
    if (element->type == api::kElementReservation) {
        const api::Reservation& reserved = *element->reservation;
        return text + AddressText("address", reserved.address) + BytesText(reserved.client) +
               " types=" + std::to_string(reserved.allowedTypes);
    }
    return text + AddressText("first", element->range->first) +
           AddressText("last", element->range->last);
}

std::string OptionText(const api::OptionData* value) {
    std::string text = " value=";
    for (DWORD i = 0; value && value->elements && i < value->count; ++i) {
        const api::OptionElement& element = value->elements[i];
        text += i ? "," : "";
        text += element.type == api::kOptionDword     ? "dword:" + std::to_string(element.number)
                : element.type == api::kOptionAddress ? "ip:" + Dotted(element.number)
                                                      : "type" + std::to_string(element.type);
    }
    return text;
}

api::Client* MakeRecord(RpcMemory& memory, const ClientPage::Entry& found) {
    const Client& client = *found.client;
    auto* const record = memory.Allocate<api::Client>();
    record->address = found.address;
    record->mask = found.mask;
    record->hardware = {static_cast<DWORD>(client.hardware.size()), memory.Copy(client.hardware)};
    record->name = memory.Copy(client.name);
    record->comment = memory.Copy(client.comment);
    record->expires[0] = static_cast<DWORD>(client.expires);
    record->expires[1] = static_cast<DWORD>(client.expires >> 32);
    record->owner.address = client.ownerAddress;
    record->owner.netBiosName = memory.Copy(client.ownerName);
    record->type = client.type;
    return record;
}

}  // namespace
}  // namespace lab

using namespace lab;

extern "C" {

DWORD WINAPI DhcpCreateSubnet(const WCHAR* server, DWORD subnetAddress,
                              const api::SubnetInfo* info) {
    constexpr char kName[] = "DhcpCreateSubnet";
    std::string text = AddressText("subnet", subnetAddress);
    if (info) {
        text += info->address == subnetAddress ? "" : AddressText("info.subnet", info->address);
        text += AddressText("mask", info->mask) + " name=" + Quoted(info->name) +
                " comment=" + Quoted(info->comment) + HostText(info->primaryHost) +
                " state=" + std::to_string(info->state);
    }
    return Server().Call(kName, server, text, [&](ServerRules& rules) {
        if (!info || info->address != subnetAddress)
            return Misuse(kName, "null argument, or two addresses");
        // The server does not store the primary host.
        Scope scope;
        scope.mask = info->mask;
        scope.name = TextOf(info->name);
        scope.comment = TextOf(info->comment);
        scope.state = info->state;
        return rules.CreateScope(subnetAddress, std::move(scope));
    });
}

DWORD WINAPI DhcpGetSubnetInfo(const WCHAR* server, DWORD subnetAddress,
                               api::SubnetInfo** subnetInfo) {
    constexpr DWORD kLoopbackInNetworkOrder = 0x0100007F;
    const auto answer = [&](ServerRules& rules) -> DWORD {
        if (!subnetInfo)
            return Misuse("DhcpGetSubnetInfo", "null output");
        const Scope* const scope = rules.FindScope(subnetAddress);
        if (!scope)
            return kSubnetNotPresent;
        RpcMemory& memory = Server().Memory();
        auto* const info = memory.Allocate<api::SubnetInfo>();
        info->address = subnetAddress;
        info->mask = scope->mask;
        info->name = memory.Copy(scope->name);
        info->comment = memory.Copy(scope->comment);
        info->primaryHost.address = kLoopbackInNetworkOrder;
        // Null unless a state written by hand has host texts: the API allows both.
        info->primaryHost.netBiosName = memory.Copy(scope->netBiosName);
        info->primaryHost.hostName = memory.Copy(scope->hostName);
        info->state = scope->state;
        *subnetInfo = info;
        return ERROR_SUCCESS;
    };
    return Server().Call("DhcpGetSubnetInfo", server, AddressText("subnet", subnetAddress), answer,
                         [] { return std::string(); });
}

DWORD WINAPI DhcpAddSubnetElementV4(const WCHAR* server, DWORD subnetAddress,
                                    const api::Element* element) {
    constexpr char kName[] = "DhcpAddSubnetElementV4";
    return Server().Call(
        kName, server, ElementText(subnetAddress, element), [&](ServerRules& rules) {
            if (!element || !element->range)
                return Misuse(kName, "null element");
            if (element->type == api::kElementRange)
                return rules.AddRange(subnetAddress, {element->range->first, element->range->last});
            if (element->type == api::kElementExclusion)
                return rules.AddExclusion(subnetAddress,
                                          {element->range->first, element->range->last});
            if (element->type != api::kElementReservation)
                return Misuse(kName, "element type " + std::to_string(element->type));
            const api::Reservation& reserved = *element->reservation;
            if (reserved.allowedTypes != api::kTypeBoth)
                return Misuse(kName, "allowed client types other than both");
            return rules.AddReservation(subnetAddress, reserved.address,
                                        {BytesOf(reserved.client), reserved.allowedTypes});
        });
}

DWORD WINAPI DhcpRemoveSubnetElementV4(const WCHAR* server, DWORD subnetAddress,
                                       const api::Element* element, DWORD forceFlag) {
    constexpr char kName[] = "DhcpRemoveSubnetElementV4";
    return Server().Call(
        kName, server, ElementText(subnetAddress, element) + " force=" + std::to_string(forceFlag),
        [&](ServerRules& rules) {
            if (!element || !element->reservation || element->type != api::kElementReservation)
                return Misuse(kName, "null element, or one that is no reservation");
            if (forceFlag != api::kFullForce)
                return Misuse(kName, "force flag " + std::to_string(forceFlag));
            return rules.RemoveReservation(subnetAddress, element->reservation->address,
                                           BytesOf(element->reservation->client));
        });
}

DWORD WINAPI DhcpSetOptionValue(const WCHAR* server, DWORD optionId, const api::OptionScope* scope,
                                const api::OptionData* value) {
    constexpr char kName[] = "DhcpSetOptionValue";
    const bool isScope = scope && scope->type == api::kOptionScopeSubnet;
    return Server().Call(
        kName, server,
        " option=" + std::to_string(optionId) +
            " scopeType=" + (scope ? std::to_string(scope->type) : "null") +
            (isScope ? AddressText("subnet", scope->subnet) : "") + OptionText(value),
        [&](ServerRules& rules) {
            if (!isScope || !value || !value->elements)
                return Misuse(kName, "null argument, or options that are not a scope's");
            OptionValue copy;
            for (DWORD i = 0; i < value->count; ++i)
                copy.push_back({value->elements[i].type, value->elements[i].number});
            // A real server accepts any kind of value, but clients could not use it.
            for (const OptionElement& element : copy)
                if (copy.size() != 1 ||
                    element.type != (optionId == 3 ? api::kOptionAddress : api::kOptionDword))
                    return Misuse(kName, "not one value of the option's kind");
            return rules.SetOption(scope->subnet, optionId, std::move(copy));
        });
}

DWORD WINAPI DhcpCreateClientInfoV4(const WCHAR* server, const api::Client* info) {
    constexpr char kName[] = "DhcpCreateClientInfoV4";
    std::string text = " client=null";
    Client client;
    if (info) {
        client.hardware = BytesOf(&info->hardware);
        client.name = TextOf(info->name);
        client.comment = TextOf(info->comment);
        client.expires = static_cast<ULONGLONG>(info->expires[1]) << 32 | info->expires[0];
        text = AddressText("address", info->address) + AddressText("mask", info->mask) +
               BytesText(&info->hardware) + " name=" + Quoted(info->name) +
               " comment=" + Quoted(info->comment) + " expires=" + std::to_string(client.expires) +
               HostText(info->owner) + " type=" + std::to_string(info->type);
    }
    return Server().Call(kName, server, text, [&](ServerRules& rules) {
        if (!info || info->owner.netBiosName || info->owner.hostName)
            return Misuse(kName, "null argument, or owner names, which are the server's to fill");
        return rules.CreateClient(server, info->address, std::move(client));
    });
}

DWORD WINAPI DhcpEnumSubnetClientsV4(const WCHAR* server, DWORD subnetAddress, DWORD* resume,
                                     DWORD preferredMaximum, api::ClientArray** clients,
                                     DWORD* read, DWORD* total) {
    constexpr char kName[] = "DhcpEnumSubnetClientsV4";
    if (!resume || !clients || !read || !total)
        return Misuse(kName, "null output");
    bool isAnswered = false;
    const auto answer = [&](ServerRules& rules) {
        ClientPage page;
        const DWORD code = rules.EnumClients(subnetAddress, *resume, preferredMaximum, page);
        RpcMemory& memory = Server().Memory();
        *clients = page.hasArray ? memory.Allocate<api::ClientArray>() : nullptr;
        if (*clients && !page.clients.empty()) {
            (*clients)->clients =
                static_cast<api::Client**>(memory.Allocate(page.clients.size() * sizeof(void*)));
            for (const auto& found : page.clients)
                (*clients)->clients[(*clients)->count++] = MakeRecord(memory, found);
        }
        *read = static_cast<DWORD>(page.clients.size());
        *total = page.total;
        *resume = page.resume;
        isAnswered = true;
        return code;
    };
    return Server().Call(kName, server,
                         AddressText("subnet", subnetAddress) + AddressText("resume", *resume) +
                             " preferred=" + std::to_string(preferredMaximum),
                         answer, [&] {
                             return isAnswered ? " read=" + std::to_string(*read) +
                                                     " total=" + std::to_string(*total) +
                                                     AddressText("resume", *resume)
                                               : std::string();
                         });
}

void WINAPI DhcpRpcFreeMemory(void* block) {
    Server().Free(block);
}

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_DETACH) {
        // Destroyed before the journal, a static object of this DLL that it still needs.
        theServer.reset();
    }
    return TRUE;
}

}  // extern "C"
