#include "lab/dhcpserver/ServerRules.h"

#include <algorithm>

#include "lab/dhcpserver/AddressText.h"
#include "lab/journal/Environment.h"
#include "lab/journal/Journal.h"

namespace lab {
namespace {

constexpr DWORD kUnknownOwner = 0xFFFFFFFF;
constexpr ULONGLONG kTicksPerSecond = 10'000'000;
constexpr DWORD kLeaseTimeOption = 51;
constexpr ULONGLONG kDefaultLeaseSeconds = 691200;
constexpr std::size_t kMaxIdentifierBytes = 255;
constexpr DWORD kMinPageBytes = 1024;
constexpr DWORD kMaxPageBytes = 65536;
constexpr DWORD kMoreThanThisPage = 0x7FFFFFFF;

Text TextOf(const WCHAR* text) {
    return text ? Text(text) : std::nullopt;
}

/// The bytes, or none when they cannot be an identifier.
std::optional<Identifier> IdentifierOf(const DHCP_BINARY_DATA* data) {
    if (!data || !data->Data || data->DataLength == 0 || data->DataLength > kMaxIdentifierBytes)
        return std::nullopt;
    return Identifier(reinterpret_cast<const char*>(data->Data), data->DataLength);
}

OptionElement ElementOf(const DHCP_OPTION_DATA_ELEMENT& element) {
    OptionElement copy{element.OptionType, 0, {}, {}};
    switch (static_cast<DWORD>(element.OptionType)) {
        case DhcpByteOption:
            copy.number = element.Element.ByteOption;
            break;
        case DhcpWordOption:
            copy.number = element.Element.WordOption;
            break;
        case DhcpDWordDWordOption:
            copy.number = element.Element.DWordDWordOption;
            break;
        case DhcpDWordOption:
        case DhcpIpAddressOption:
            copy.number = element.Element.DWordOption;
            break;
        case DhcpStringDataOption:
        case kIpv6Option:
            copy.text = TextOf(element.Element.StringDataOption).value_or(L"");
            break;
        default:
            copy.binary = IdentifierOf(&element.Element.BinaryDataOption).value_or("");
    }
    return copy;
}

/// What a record takes of a page: the record, its pointer, its texts, its raw identifier.
DWORD PageBytes(const Client& client) {
    std::size_t bytes =
        sizeof(DHCP_CLIENT_INFO_V4) + sizeof(void*) + client.uniqueId.size() - kUniqueIdPrefixBytes;
    for (const Text* text : {&client.name, &client.comment, &client.ownerName})
        bytes += *text ? ((*text)->size() + 1) * sizeof(WCHAR) : 0;
    return static_cast<DWORD>(bytes);
}

void ReadSwitch(const wchar_t* name, std::initializer_list<DWORD> allowed, DWORD& value,
                std::vector<std::string>& errors) {
    const std::wstring text = EnvironmentText(name);
    if (text.empty())
        return;
    const auto number = ParseNumber(text, 0xFFFFFFFF);
    if (number && (allowed.size() == 0 ||
                   std::find(allowed.begin(), allowed.end(), *number) != allowed.end()))
        value = static_cast<DWORD>(*number);
    else
        errors.push_back("setting " + Escape(name) + " not understood: " + Escape(text));
}

}  // namespace

ServerSettings ServerSettings::FromEnvironment(std::vector<std::string>& errors) {
    ServerSettings settings;
    if (const std::wstring name = EnvironmentText(L"DHCPLAB_SERVER_NAME"); !name.empty())
        settings.serverName = name;
    DWORD nullPages = 0;
    DWORD stuck = 0;
    ReadSwitch(L"DHCPLAB_RESERVE_LEASED", {kReservationExists, kJetError},
               settings.reserveLeasedCode, errors);
    ReadSwitch(L"DHCPLAB_ENUM_UNKNOWN_SUBNET", {ERROR_SUCCESS, kSubnetNotPresent},
               settings.enumUnknownSubnetCode, errors);
    ReadSwitch(L"DHCPLAB_PAGE_BYTES", {}, settings.pageBytes, errors);
    ReadSwitch(L"DHCPLAB_NULL_EMPTY_PAGES", {0, 1}, nullPages, errors);
    ReadSwitch(L"DHCPLAB_ENUM_STUCK", {0, 1}, stuck, errors);
    settings.nullEmptyPages = nullPages != 0;
    settings.enumStuck = stuck != 0;
    return settings;
}

ServerRules::ServerRules(ServerState& state, const ServerSettings& settings, Clock clock)
    : m_state(state), m_settings(settings), m_clock(std::move(clock)) {}

ULONGLONG ServerRules::SystemTime() {
    FILETIME now;
    ::GetSystemTimeAsFileTime(&now);
    return static_cast<ULONGLONG>(now.dwHighDateTime) << 32 | now.dwLowDateTime;
}

DWORD ServerRules::CreateSubnet(DWORD subnetAddress, const DHCP_SUBNET_INFO* info) {
    if (subnetAddress == 0 || !info || info->SubnetAddress != subnetAddress ||
        (subnetAddress & info->SubnetMask) != subnetAddress)
        return ERROR_INVALID_PARAMETER;
    if (m_state.OverlapsScope(subnetAddress, info->SubnetMask))
        return kSubnetExists;
    // Neither the state nor holes in the mask are checked, and the primary host is dropped.
    m_state.PutScope(subnetAddress, {info->SubnetMask,
                                     TextOf(info->SubnetName),
                                     TextOf(info->SubnetComment),
                                     info->SubnetState,
                                     {},
                                     {},
                                     {},
                                     {}});
    return ERROR_SUCCESS;
}

DWORD ServerRules::GetSubnetInfo(DWORD subnetAddress, const Scope*& scope) const {
    scope = m_state.FindScope(subnetAddress);
    return scope ? ERROR_SUCCESS : DWORD{kSubnetNotPresent};
}

DWORD ServerRules::AddElement(DWORD subnetAddress, const DHCP_SUBNET_ELEMENT_DATA_V4& element) {
    if (!m_state.FindScope(subnetAddress))
        return kSubnetNotPresent;
    switch (element.ElementType) {
        case DhcpSecondaryHosts:
            return ERROR_CALL_NOT_IMPLEMENTED;
        case DhcpReservedIps:
            return AddReservation(subnetAddress, element.Element.ReservedIp);
        case DhcpExcludedIpRanges:
            return AddExclusion(subnetAddress, element.Element.ExcludeIpRange);
        case DhcpIpRanges:
        case DhcpIpRangesDhcpOnly:
        case DhcpIpRangesDhcpBootp:
        case DhcpIpRangesBootpOnly:
            return AddRange(subnetAddress, element.ElementType, element.Element.IpRange);
        default:
            return ERROR_INVALID_PARAMETER;
    }
}

DWORD ServerRules::AddRange(DWORD scopeId, DHCP_SUBNET_ELEMENT_TYPE type,
                            const DHCP_IP_RANGE* range) {
    if (!range)
        return ERROR_INVALID_PARAMETER;
    const Scope& scope = *m_state.FindScope(scopeId);
    const AddressRange added{range->StartAddress, range->EndAddress};
    // No document tells of ranges that leave the subnet; network and broadcast address are fine.
    if (added.last < added.first || !IsInSubnet(scopeId, scope.mask, added.first) ||
        !IsInSubnet(scopeId, scope.mask, added.last))
        return kInvalidRange;
    const auto& existing = scope.range;
    if (existing && existing->first == added.first && existing->last == added.last)
        return kRangeExists;
    if (type == DhcpIpRanges && m_state.HasBootpClients(scopeId))
        return kRangeConversionIllegal;
    // A scope has one range: a second one can only widen or narrow it.
    if (existing && !existing->Contains(added) && !added.Contains(*existing))
        return kInvalidRange;
    m_state.PutRange(scopeId, added);
    return ERROR_SUCCESS;
}

DWORD ServerRules::AddExclusion(DWORD scopeId, const DHCP_IP_RANGE* range) {
    if (!range)
        return ERROR_INVALID_PARAMETER;
    const Scope& scope = *m_state.FindScope(scopeId);
    const DWORD first = range->StartAddress;
    const DWORD last = range->EndAddress;
    if (last < first || !IsInSubnet(scopeId, scope.mask, first) ||
        !IsInSubnet(scopeId, scope.mask, last))
        return kInvalidRange;
    const auto after = scope.exclusions.upper_bound(last);
    const bool overlaps = after != scope.exclusions.begin() && std::prev(after)->second >= first;
    if (overlaps)
        return kInvalidRange;
    // Outside the range, over a lease or over a reservation: all of it is accepted.
    m_state.PutExclusion(scopeId, first, last);
    return ERROR_SUCCESS;
}

DWORD ServerRules::AddReservation(DWORD scopeId, const DHCP_IP_RESERVATION_V4* record) {
    const auto hardware = IdentifierOf(record ? record->ReservedForClient : nullptr);
    if (!hardware)
        return ERROR_INVALID_PARAMETER;
    const Scope& scope = *m_state.FindScope(scopeId);
    const DWORD address = record->ReservedIpAddress;
    // The subnet decides, not the range: a scope without a range takes reservations.
    if (!IsInSubnet(scopeId, scope.mask, address))
        return kNotReservedClient;
    if (scope.reservations.count(address) || m_state.ReservedAddress(scopeId, *hardware))
        return kReservationExists;
    const Identifier uniqueId = UniqueId(scopeId, *hardware);
    const Client* const holder = m_state.FindClient(address);
    const auto held = m_state.AddressOfClient(uniqueId);
    if ((holder && holder->uniqueId != uniqueId) || (held && *held != address))
        return m_settings.reserveLeasedCode;
    m_state.PutReservation(scopeId, address,
                           Reservation{*hardware, record->bAllowedClientTypes, {}});
    if (!holder) {
        m_state.PutClient(
            address,
            Client{uniqueId, {}, {}, 0, CLIENT_TYPE_NONE, m_settings.serverName, kUnknownOwner});
    }
    return ERROR_SUCCESS;
}

DWORD ServerRules::RemoveElement(DWORD subnetAddress, const DHCP_SUBNET_ELEMENT_DATA_V4& element,
                                 DHCP_FORCE_FLAG force) {
    if (!m_state.FindScope(subnetAddress))
        return kSubnetNotPresent;
    switch (element.ElementType) {
        case DhcpSecondaryHosts:
            return ERROR_CALL_NOT_IMPLEMENTED;
        case DhcpReservedIps:
            return RemoveReservation(subnetAddress, element.Element.ReservedIp);
        case DhcpExcludedIpRanges:
            return RemoveExclusion(subnetAddress, element.Element.ExcludeIpRange);
        case DhcpIpRanges:
        case DhcpIpRangesDhcpOnly:
        case DhcpIpRangesDhcpBootp:
        case DhcpIpRangesBootpOnly:
            return RemoveRange(subnetAddress, element.Element.IpRange, force);
        default:
            return ERROR_INVALID_PARAMETER;
    }
}

DWORD ServerRules::RemoveRange(DWORD scopeId, const DHCP_IP_RANGE* range, DHCP_FORCE_FLAG force) {
    if (!range)
        return ERROR_INVALID_PARAMETER;
    const auto& existing = m_state.FindScope(scopeId)->range;
    if (!existing || existing->first != range->StartAddress || existing->last != range->EndAddress)
        return kInvalidRange;
    const auto inside = m_state.Clients().lower_bound(existing->first);
    if (force == DhcpNoForce && inside != m_state.Clients().end() &&
        existing->Contains(inside->first))
        return kElementCantRemove;
    m_state.PutRange(scopeId, std::nullopt);
    return ERROR_SUCCESS;
}

DWORD ServerRules::RemoveExclusion(DWORD scopeId, const DHCP_IP_RANGE* range) {
    if (!range)
        return ERROR_INVALID_PARAMETER;
    const auto& exclusions = m_state.FindScope(scopeId)->exclusions;
    auto around = exclusions.upper_bound(range->StartAddress);
    if (around == exclusions.begin() || (--around)->second < range->StartAddress)
        return kElementCantRemove;
    if (around->first != range->StartAddress || around->second != range->EndAddress)
        return ERROR_INVALID_PARAMETER;
    m_state.PutExclusion(scopeId, range->StartAddress, std::nullopt);
    return ERROR_SUCCESS;
}

DWORD ServerRules::RemoveReservation(DWORD scopeId, const DHCP_IP_RESERVATION_V4* record) {
    if (!record)
        return ERROR_INVALID_PARAMETER;
    const Identifier hardware = IdentifierOf(record->ReservedForClient).value_or("");
    const Scope& scope = *m_state.FindScope(scopeId);
    const DWORD address = record->ReservedIpAddress;
    const auto reservation = scope.reservations.find(address);
    // Callers that list reservations hold the long form of the hardware address.
    if (reservation == scope.reservations.end() ||
        (reservation->second.hardware != hardware &&
         UniqueId(scopeId, reservation->second.hardware) != hardware))
        return DeleteClient(address);
    const Identifier uniqueId = UniqueId(scopeId, reservation->second.hardware);
    m_state.PutReservation(scopeId, address, std::nullopt);
    const Client* const client = m_state.FindClient(address);
    if (!client || client->uniqueId != uniqueId)
        return kJetError;
    if (client->expires == 0) {
        m_state.PutClient(address, std::nullopt);
    } else {
        // Whoever uses the address keeps it, for one more lease time.
        Client lease = *client;
        lease.expires = m_clock() + LeaseSeconds(scope) * kTicksPerSecond;
        m_state.PutClient(address, std::move(lease));
    }
    return ERROR_SUCCESS;
}

ULONGLONG ServerRules::LeaseSeconds(const Scope& scope) const {
    for (const Options* options : {&scope.options, &m_state.GlobalOptions()}) {
        const auto value = options->find(kLeaseTimeOption);
        if (value != options->end() && !value->second.empty() &&
            value->second.front().type == DhcpDWordOption)
            return value->second.front().number;
    }
    return kDefaultLeaseSeconds;
}

DWORD ServerRules::SetOptionValue(DWORD optionId, const DHCP_OPTION_SCOPE_INFO& where,
                                  const DHCP_OPTION_DATA& value) {
    const auto isUnknownType = [](const DHCP_OPTION_DATA_ELEMENT& element) {
        return element.OptionType > kIpv6Option;  // does not cross the wire
    };
    if (!value.Elements || value.NumElements == 0 ||
        std::any_of(value.Elements, value.Elements + value.NumElements, isUnknownType))
        return ERROR_INVALID_PARAMETER;
    if (!m_state.IsOptionDefined(optionId))
        return kOptionNotPresent;
    // Types and counts are not compared with the definition: that is the caller's business.
    OptionValue copy;
    for (DWORD i = 0; i < value.NumElements; ++i)
        copy.push_back(ElementOf(value.Elements[i]));
    switch (where.ScopeType) {
        case DhcpDefaultOptions:
            m_state.PutDefaultOption(optionId, std::move(copy));
            return ERROR_SUCCESS;
        case DhcpGlobalOptions:
            m_state.PutGlobalOption(optionId, std::move(copy));
            return ERROR_SUCCESS;
        case DhcpSubnetOptions:
            if (!m_state.FindScope(where.ScopeInfo.SubnetScopeInfo))
                return kSubnetNotPresent;
            m_state.PutScopeOption(where.ScopeInfo.SubnetScopeInfo, optionId, std::move(copy));
            return ERROR_SUCCESS;
        case DhcpReservedOptions: {
            const DHCP_RESERVED_SCOPE& reserved = where.ScopeInfo.ReservedScopeInfo;
            const auto* const scope = m_state.ScopeOf(reserved.ReservedIpAddress);
            if (!scope)
                return ERROR_FILE_NOT_FOUND;
            const auto found = scope->second.reservations.find(reserved.ReservedIpAddress);
            if (found == scope->second.reservations.end())
                return kNotReservedClient;
            if (scope->first != reserved.ReservedIpSubnetAddress)
                return kSubnetNotPresent;
            Reservation changed = found->second;
            changed.options.insert_or_assign(optionId, std::move(copy));
            m_state.PutReservation(scope->first, found->first, std::move(changed));
            return ERROR_SUCCESS;
        }
        default:
            return ERROR_INVALID_PARAMETER;
    }
}

DWORD ServerRules::CreateClient(const WCHAR* server, const DHCP_CLIENT_INFO_V4& info) {
    const auto hardware = IdentifierOf(&info.ClientHardwareAddress);
    const auto* const scope = m_state.ScopeOf(info.ClientIpAddress);
    if (!hardware || !scope)
        return ERROR_INVALID_PARAMETER;
    Identifier uniqueId = UniqueId(scope->first, *hardware);
    if (m_state.FindClient(info.ClientIpAddress) || m_state.AddressOfClient(uniqueId))
        return kJetError;
    // The server decides about mask, type and owner, whatever the caller filled in.
    const ULONGLONG expires = static_cast<ULONGLONG>(info.ClientLeaseExpires.dwHighDateTime) << 32 |
                              info.ClientLeaseExpires.dwLowDateTime;
    m_state.PutClient(
        info.ClientIpAddress,
        Client{std::move(uniqueId), TextOf(info.ClientName), TextOf(info.ClientComment), expires,
               CLIENT_TYPE_NONE, m_settings.serverName,
               ParseAddress(server ? server : L"").value_or(kUnknownOwner)});
    return ERROR_SUCCESS;
}

DWORD ServerRules::SetClientTexts(DWORD address, const WCHAR* name, const WCHAR* comment) {
    const Client* const client = m_state.FindClient(address);
    if (!client)
        return kJetError;
    Client changed = *client;
    changed.name = name ? TextOf(name) : changed.name;
    changed.comment = comment ? TextOf(comment) : changed.comment;
    m_state.PutClient(address, std::move(changed));
    return ERROR_SUCCESS;
}

DWORD ServerRules::DeleteClient(DWORD address) {
    if (!m_state.FindClient(address))
        return kJetError;
    const auto* const scope = m_state.ScopeOf(address);
    if (scope && scope->second.reservations.count(address))
        return kReservedClient;
    m_state.PutClient(address, std::nullopt);
    return ERROR_SUCCESS;
}

DWORD ServerRules::EnumClients(DWORD subnetAddress, DWORD resume, DWORD preferredBytes,
                               ClientPage& page) const {
    if (m_settings.enumStuck) {
        page.resume = resume;
        page.total = kMoreThanThisPage;
        return ERROR_MORE_DATA;
    }
    const Scope* const scope = m_state.FindScope(subnetAddress);
    if (subnetAddress != 0 && !scope) {
        page.hasArray =
            m_settings.enumUnknownSubnetCode == ERROR_SUCCESS && !m_settings.nullEmptyPages;
        return m_settings.enumUnknownSubnetCode;
    }
    const auto& clients = m_state.Clients();
    if (resume == 0 && clients.empty())
        return ERROR_NO_MORE_ITEMS;
    if (resume != 0 && !clients.count(resume))
        return kJetError;
    const DWORD pageBytes = m_settings.pageBytes
                                ? m_settings.pageBytes
                                : std::clamp(preferredBytes, kMinPageBytes, kMaxPageBytes);
    auto next = resume ? clients.upper_bound(resume) : clients.lower_bound(subnetAddress);
    DWORD used = 0;
    const DWORD last = scope ? subnetAddress | ~scope->mask : 0xFFFFFFFF;
    for (; next != clients.end() && next->first <= last; ++next) {
        if (scope && !IsInSubnet(subnetAddress, scope->mask, next->first))
            continue;
        used += PageBytes(next->second);
        if (used > pageBytes && !page.clients.empty()) {
            page.resume = page.clients.back().address;
            page.total = kMoreThanThisPage;
            page.hasArray = true;
            return ERROR_MORE_DATA;
        }
        const DWORD mask = scope ? scope->mask : m_state.ScopeOf(next->first)->second.mask;
        page.clients.push_back({next->first, mask, &next->second});
    }
    page.total = static_cast<DWORD>(page.clients.size());
    page.hasArray = !page.clients.empty() || !m_settings.nullEmptyPages;
    return ERROR_SUCCESS;
}

}  // namespace lab
