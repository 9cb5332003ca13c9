#include "lab/dhcpserver/ServerRules.h"

#include <algorithm>

#include "lab/journal/Environment.h"
#include "lab/journal/Journal.h"

namespace lab {
namespace {

constexpr wchar_t kServerName[] = L"DHCPLAB";  // NetBIOS name; owner of created records
constexpr ULONGLONG kTicksPerSecond = 10'000'000;
constexpr DWORD kLeaseTimeOption = 51;
constexpr ULONGLONG kDefaultLeaseSeconds = 691200;
constexpr DWORD kMinPageBytes = 1024;
constexpr DWORD kMaxPageBytes = 65536;
constexpr DWORD kMoreThanThisPage = 0x7FFFFFFF;

bool IsIdentifier(const Identifier& hardware) {
    return !hardware.empty() && hardware.size() <= kMaxIdentifierBytes;
}

/// Reads a setting for behavior that the documents leave open (docs/lab.md); 0 if unset.
DWORD Setting(const wchar_t* name) {
    const std::wstring text = EnvironmentText(name);
    const auto number = ParseNumber(text.empty() ? L"0" : text, 0xFFFFFFFF);
    if (!number)
        JournalMisuse("setting " + ToUtf8(name) + " not understood: " + Escape(text));
    return static_cast<DWORD>(number.value_or(0));
}

/// Size of a record in a page: the record, its pointer, its texts and its identifier.
DWORD PageBytes(const Client& client) {
    std::size_t bytes = sizeof(api::Client) + sizeof(void*) + client.hardware.size();
    for (const Text* text : {&client.name, &client.comment, &client.ownerName})
        bytes += *text ? ((*text)->size() + 1) * sizeof(WCHAR) : 0;
    return static_cast<DWORD>(bytes);
}

}  // namespace

ULONGLONG Now() {
    FILETIME now;
    ::GetSystemTimeAsFileTime(&now);
    return static_cast<ULONGLONG>(now.dwHighDateTime) << 32 | now.dwLowDateTime;
}

ULONGLONG LeaseSeconds(const Scope& scope) {
    const auto value = scope.options.find(kLeaseTimeOption);
    const bool isSet = value != scope.options.end() && !value->second.empty();
    return isSet ? value->second.front().number : kDefaultLeaseSeconds;
}

DWORD ServerRules::CreateScope(DWORD scopeId, Scope scope) {
    if (scopeId == 0 || (scopeId & scope.mask) != scopeId)
        return ERROR_INVALID_PARAMETER;
    if (m_state.OverlapsScope(scopeId, scope.mask))
        return kSubnetExists;
    // The state is not checked, and the mask may have holes.
    m_state.ChangeScope(scopeId) = std::move(scope);
    return ERROR_SUCCESS;
}

DWORD ServerRules::AddRange(DWORD scopeId, AddressRange range) {
    const Scope* const scope = m_state.FindScope(scopeId);
    if (!scope)
        return kSubnetNotPresent;
    // Ranges beyond the subnet are not documented. Network and broadcast address are allowed.
    if (!IsInScope(scopeId, *scope, range))
        return kInvalidRange;
    if (const auto& existing = scope->range) {
        if (existing->first == range.first && existing->last == range.last)
            return kRangeExists;
        // A second range can only widen or narrow the first, and only in an enabled scope.
        if (scope->state != 0 || (!existing->Contains(range) && !range.Contains(*existing)))
            return kInvalidRange;
    }
    m_state.ChangeScope(scopeId).range = range;
    return ERROR_SUCCESS;
}

DWORD ServerRules::AddExclusion(DWORD scopeId, AddressRange range) {
    const Scope* const scope = m_state.FindScope(scopeId);
    if (!scope)
        return kSubnetNotPresent;
    if (!IsInScope(scopeId, *scope, range))
        return kInvalidRange;
    const auto after = scope->exclusions.upper_bound(range.last);
    if (after != scope->exclusions.begin() && std::prev(after)->second >= range.first)
        return kInvalidRange;  // equal or overlapping
    // Exclusions are accepted even outside the range, and over a lease or reservation.
    m_state.ChangeScope(scopeId).exclusions[range.first] = range.last;
    return ERROR_SUCCESS;
}

DWORD ServerRules::AddReservation(DWORD scopeId, DWORD address, const Reservation& reservation) {
    const Scope* const scope = m_state.FindScope(scopeId);
    if (!scope)
        return kSubnetNotPresent;
    if (!IsIdentifier(reservation.hardware))
        return ERROR_INVALID_PARAMETER;
    // Only the subnet counts: a scope without a range accepts reservations, too.
    if (!IsInSubnet(scopeId, scope->mask, address))
        return kNotReservedClient;
    if (scope->reservations.count(address) ||
        m_state.ReservedAddress(scopeId, reservation.hardware))
        return kReservationExists;
    const Client* const holder = m_state.FindClient(address);
    const DWORD* const held = m_state.AddressOfClient(UniqueId(scopeId, reservation.hardware));
    if ((holder && holder->hardware != reservation.hardware) || (held && *held != address))
        return kReservationExists;
    // Documents do not say whether an existing record keeps its lease.
    static const DWORD endsLease = Setting(L"DHCPLAB_RESERVE_RECORD");
    Client record = holder ? *holder : Client{};
    record.hardware = reservation.hardware;
    if (!holder)
        record.ownerName = kServerName;
    if (endsLease)
        record.expires = 0;
    m_state.PutReservation(scopeId, address, reservation);
    m_state.PutClient(address, std::move(record));
    return ERROR_SUCCESS;
}

DWORD ServerRules::RemoveReservation(DWORD scopeId, DWORD address, const Identifier& hardware) {
    const Scope* const scope = m_state.FindScope(scopeId);
    if (!scope)
        return kSubnetNotPresent;
    const auto found = scope->reservations.find(address);
    if (found == scope->reservations.end())
        return DeleteClient(address);
    // Callers that listed the reservations have the long form of the hardware address.
    const Identifier reserved = found->second.hardware;
    const Client* const client = m_state.FindClient(address);
    if (hardware != reserved && hardware != UniqueId(scopeId, reserved))
        return client ? kReservedClient : kJetError;
    m_state.PutReservation(scopeId, address, std::nullopt);
    if (!client || client->hardware != reserved)
        return kJetError;
    if (client->expires == 0) {
        m_state.PutClient(address, std::nullopt);
    } else {
        // The client keeps the address for one more lease time.
        Client lease = *client;
        lease.expires = Now() + LeaseSeconds(*scope) * kTicksPerSecond;
        m_state.PutClient(address, std::move(lease));
    }
    return ERROR_SUCCESS;
}

DWORD ServerRules::DeleteClient(DWORD address) {
    if (!m_state.FindClient(address))
        return kJetError;
    const auto* const scope = m_state.ScopeOf(address);
    if (scope->second.reservations.count(address))
        return kReservedClient;
    m_state.PutClient(address, std::nullopt);
    return ERROR_SUCCESS;
}

DWORD ServerRules::SetOption(DWORD scopeId, DWORD optionId, OptionValue value) {
    if (value.empty())
        return ERROR_INVALID_PARAMETER;
    const bool isDefined = (optionId >= 1 && optionId <= 76) || optionId == 81;
    if (!isDefined)
        return kOptionNotPresent;
    if (!m_state.FindScope(scopeId))
        return kSubnetNotPresent;
    // Types and counts are not checked against the definition of the option.
    m_state.ChangeScope(scopeId).options[optionId] = std::move(value);
    return ERROR_SUCCESS;
}

DWORD ServerRules::CreateClient(const std::wstring& server, DWORD address, Client client) {
    const auto* const scope = m_state.ScopeOf(address);
    if (!IsIdentifier(client.hardware) || !scope)
        return ERROR_INVALID_PARAMETER;
    if (m_state.FindClient(address) ||
        m_state.AddressOfClient(UniqueId(scope->first, client.hardware)))
        return kJetError;
    // The server sets type and owner itself.
    client.type = api::kTypeNone;
    client.ownerName = kServerName;
    client.ownerAddress = ParseAddress(server).value_or(0xFFFFFFFF);
    m_state.PutClient(address, std::move(client));
    return ERROR_SUCCESS;
}

DWORD ServerRules::SetClientTexts(DWORD address, const Text& name, const Text& comment) {
    const Client* const client = m_state.FindClient(address);
    if (!client)
        return kJetError;
    Client changed = *client;
    changed.name = name ? name : changed.name;
    changed.comment = comment ? comment : changed.comment;
    m_state.PutClient(address, std::move(changed));
    return ERROR_SUCCESS;
}

DWORD ServerRules::EnumClients(DWORD scopeId, DWORD resume, DWORD preferredBytes,
                               ClientPage& page) const {
    static const DWORD unknownSubnet = Setting(L"DHCPLAB_ENUM_UNKNOWN_SUBNET");
    static const DWORD pageBytesAlways = Setting(L"DHCPLAB_PAGE_BYTES");
    const Scope* const scope = m_state.FindScope(scopeId);
    if (scopeId != 0 && !scope) {
        page.hasArray = unknownSubnet == ERROR_SUCCESS;
        return unknownSubnet;
    }
    const auto& clients = m_state.Clients();
    if (resume == 0 && clients.empty())
        return ERROR_NO_MORE_ITEMS;
    if (resume != 0 && !clients.count(resume))
        return kJetError;
    const DWORD pageBytes = pageBytesAlways
                                ? pageBytesAlways
                                : std::clamp(preferredBytes, kMinPageBytes, kMaxPageBytes);
    DWORD used = 0;
    const DWORD last = scope ? scopeId | ~scope->mask : 0xFFFFFFFF;
    auto next = resume ? clients.upper_bound(resume) : clients.lower_bound(scopeId);
    for (; next != clients.end() && next->first <= last; ++next) {
        const auto* const in = m_state.ScopeOf(next->first);
        if (scope && in->first != scopeId)
            continue;
        used += PageBytes(next->second);
        if (used > pageBytes && !page.clients.empty()) {
            page.resume = page.clients.back().address;
            page.total = kMoreThanThisPage;
            page.hasArray = true;
            return ERROR_MORE_DATA;
        }
        page.clients.push_back({next->first, in->second.mask, &next->second});
    }
    // An empty scope has no array, an unknown scope an empty one: callers must handle both.
    page.total = static_cast<DWORD>(page.clients.size());
    page.hasArray = !page.clients.empty();
    return ERROR_SUCCESS;
}

}  // namespace lab
