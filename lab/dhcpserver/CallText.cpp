#include "lab/dhcpserver/CallText.h"

#include "lab/dhcpserver/AddressText.h"
#include "lab/dhcpserver/ServerState.h"
#include "lab/journal/Journal.h"

namespace lab {
namespace {

std::string Bytes(const DHCP_BINARY_DATA* data) {
    return data && data->Data
               ? HexBytes({reinterpret_cast<const char*>(data->Data), data->DataLength}, "-")
               : "null";
}

/// Only what is filled: callers leave the host out.
std::string HostText(const DHCP_HOST_INFO& host) {
    std::string text;
    text += host.IpAddress ? " host=" + Dotted(host.IpAddress) : "";
    text += host.NetBiosName && *host.NetBiosName ? " netbios=" + Quoted(host.NetBiosName) : "";
    text += host.HostName && *host.HostName ? " hostname=" + Quoted(host.HostName) : "";
    return text;
}

std::string OptionElementText(const DHCP_OPTION_DATA_ELEMENT& element) {
    switch (static_cast<DWORD>(element.OptionType)) {
        case DhcpByteOption:
            return "byte:" + std::to_string(element.Element.ByteOption);
        case DhcpWordOption:
            return "word:" + std::to_string(element.Element.WordOption);
        case DhcpDWordOption:
            return "dword:" + std::to_string(element.Element.DWordOption);
        case DhcpDWordDWordOption:
            return "dworddword:" + std::to_string(element.Element.DWordDWordOption);
        case DhcpIpAddressOption:
            return "ip:" + Dotted(element.Element.IpAddressOption);
        case DhcpStringDataOption:
        case kIpv6Option:
            return "string:" + Quoted(element.Element.StringDataOption);
        case kBinaryOption:
        case kEncapsulatedOption:
            return "binary:" + Bytes(&element.Element.BinaryDataOption);
        default:
            return "type" + std::to_string(element.OptionType);
    }
}

}  // namespace

std::string ServerText(const WCHAR* server) {
    return " server=" + (server ? Escape(std::wstring_view(server)) : "null");
}

std::string SubnetInfoText(DWORD subnetAddress, const DHCP_SUBNET_INFO* info) {
    std::string text = " subnet=" + Dotted(subnetAddress);
    if (!info)
        return text + " info=null";
    if (info->SubnetAddress != subnetAddress)
        text += " info.subnet=" + Dotted(info->SubnetAddress);
    return text + " mask=" + Dotted(info->SubnetMask) + " name=" + Quoted(info->SubnetName) +
           " comment=" + Quoted(info->SubnetComment) + HostText(info->PrimaryHost) +
           " state=" + std::to_string(info->SubnetState);
}

std::string ElementText(const DHCP_SUBNET_ELEMENT_DATA_V4* element) {
    if (!element)
        return " element=null";
    std::string type = " type=" + std::to_string(element->ElementType);
    if (!element->Element.IpRange)
        return type + " element=null";
    switch (element->ElementType) {
        case DhcpReservedIps: {
            const DHCP_IP_RESERVATION_V4& reserved = *element->Element.ReservedIp;
            return type + " address=" + Dotted(reserved.ReservedIpAddress) +
                   " mac=" + Bytes(reserved.ReservedForClient) +
                   " types=" + std::to_string(reserved.bAllowedClientTypes);
        }
        case DhcpSecondaryHosts:
        case DhcpIpUsedClusters:
            return type;
        default:
            return type + " first=" + Dotted(element->Element.IpRange->StartAddress) +
                   " last=" + Dotted(element->Element.IpRange->EndAddress);
    }
}

std::string OptionScopeText(const DHCP_OPTION_SCOPE_INFO* scope) {
    if (!scope)
        return " scope=null";
    std::string type = " scopeType=" + std::to_string(scope->ScopeType);
    switch (scope->ScopeType) {
        case DhcpSubnetOptions:
            return type + " subnet=" + Dotted(scope->ScopeInfo.SubnetScopeInfo);
        case DhcpReservedOptions:
            return type +
                   " subnet=" + Dotted(scope->ScopeInfo.ReservedScopeInfo.ReservedIpSubnetAddress) +
                   " address=" + Dotted(scope->ScopeInfo.ReservedScopeInfo.ReservedIpAddress);
        default:
            return type;
    }
}

std::string OptionValueText(const DHCP_OPTION_DATA* value) {
    if (!value || !value->Elements)
        return " value=null";
    std::string text = " value=";
    for (DWORD i = 0; i < value->NumElements; ++i) {
        text += i ? "," : "";
        text += OptionElementText(value->Elements[i]);
    }
    return text;
}

std::string ClientInfoText(const DHCP_CLIENT_INFO_V4* info) {
    if (!info)
        return " client=null";
    const ULONGLONG expires = static_cast<ULONGLONG>(info->ClientLeaseExpires.dwHighDateTime)
                                  << 32 |
                              info->ClientLeaseExpires.dwLowDateTime;
    return " address=" + Dotted(info->ClientIpAddress) + " mask=" + Dotted(info->SubnetMask) +
           " mac=" + Bytes(&info->ClientHardwareAddress) + " name=" + Quoted(info->ClientName) +
           " comment=" + Quoted(info->ClientComment) + " expires=" + std::to_string(expires) +
           HostText(info->OwnerHost) + " type=" + std::to_string(info->bClientType);
}

std::string OptionWarning(DWORD optionId, const DHCP_OPTION_DATA* value) {
    if (!value || !value->Elements)
        return {};
    for (DWORD i = 0; i < value->NumElements; ++i) {
        if (optionId == 3 && value->Elements[i].OptionType != DhcpIpAddressOption)
            return "option 3 (router) takes addresses";
        if (optionId == 51 &&
            (value->NumElements != 1 || value->Elements[i].OptionType != DhcpDWordOption))
            return "option 51 (lease time) takes a single DWORD";
    }
    return {};
}

}  // namespace lab
