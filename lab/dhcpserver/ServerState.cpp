#include "lab/dhcpserver/ServerState.h"

namespace lab {
namespace {

/// Assigns, or removes when there is nothing to assign.
template <class Map, class Value>
void Put(Map& map, DWORD key, std::optional<Value> value) {
    if (value)
        map.insert_or_assign(key, *std::move(value));
    else
        map.erase(key);
}

template <class Map, class Key>
auto Find(const Map& map, const Key& key) {
    const auto found = map.find(key);
    return found == map.end() ? nullptr : &found->second;
}

template <class Map, class Key>
std::optional<DWORD> FindAddress(const Map& map, const Key& key) {
    const DWORD* const address = Find(map, key);
    return address ? std::optional<DWORD>(*address) : std::nullopt;
}

}  // namespace

Identifier UniqueId(DWORD scopeId, const Identifier& hardware) {
    Identifier id;
    id.reserve(kUniqueIdPrefixBytes + hardware.size());
    for (int shift = 0; shift < 32; shift += 8)
        id += static_cast<char>(scopeId >> shift & 0xFF);
    id += '\x01';
    return id + hardware;
}

bool ServerState::IsOptionDefined(DWORD optionId) const {
    for (const AddressRange& ids : m_optionDefinitions)
        if (ids.Contains(optionId))
            return true;
    return false;
}

const Scope* ServerState::FindScope(DWORD scopeId) const {
    return Find(m_scopes, scopeId);
}

const ServerState::ScopeEntry* ServerState::ScopeOf(DWORD address) const {
    // Blocks never overlap, so only the nearest id below can hold the address.
    auto after = m_scopes.upper_bound(address);
    if (after == m_scopes.begin())
        return nullptr;
    const ScopeEntry& candidate = *--after;
    return IsInSubnet(candidate.first, candidate.second.mask, address) ? &candidate : nullptr;
}

bool ServerState::OverlapsScope(DWORD scopeId, DWORD mask) const {
    const auto after = m_scopes.upper_bound(scopeId | ~mask);
    if (after == m_scopes.begin())
        return false;
    const auto& [id, scope] = *std::prev(after);
    return (id | ~scope.mask) >= scopeId;
}

const Client* ServerState::FindClient(DWORD address) const {
    return Find(m_clients, address);
}

std::optional<DWORD> ServerState::AddressOfClient(const Identifier& uniqueId) const {
    return FindAddress(m_clientAddresses, uniqueId);
}

std::optional<DWORD> ServerState::ReservedAddress(DWORD scopeId, const Identifier& hardware) const {
    return FindAddress(m_reservedAddresses, UniqueId(scopeId, hardware));
}

bool ServerState::HasBootpClients(DWORD scopeId) const {
    const std::size_t* const count = Find(m_bootpClientCounts, scopeId);
    return count && *count > 0;
}

void ServerState::PutScope(DWORD scopeId, Scope scope) {
    const Scope& put = m_scopes.insert_or_assign(scopeId, std::move(scope)).first->second;
    for (const auto& [address, reservation] : put.reservations)
        m_reservedAddresses[UniqueId(scopeId, reservation.hardware)] = address;
    m_touched.push_back({Touch::Kind::kScope, scopeId, 0});
}

void ServerState::PutRange(DWORD scopeId, std::optional<AddressRange> range) {
    m_scopes.at(scopeId).range = range;
    m_touched.push_back({Touch::Kind::kRange, scopeId, 0});
}

void ServerState::PutExclusion(DWORD scopeId, DWORD first, std::optional<DWORD> last) {
    Put(m_scopes.at(scopeId).exclusions, first, last);
    m_touched.push_back({Touch::Kind::kExclusion, scopeId, first});
}

void ServerState::PutReservation(DWORD scopeId, DWORD address,
                                 std::optional<Reservation> reservation) {
    Scope& scope = m_scopes.at(scopeId);
    if (const auto old = scope.reservations.find(address); old != scope.reservations.end())
        m_reservedAddresses.erase(UniqueId(scopeId, old->second.hardware));
    if (reservation)
        m_reservedAddresses[UniqueId(scopeId, reservation->hardware)] = address;
    Put(scope.reservations, address, std::move(reservation));
    m_touched.push_back({Touch::Kind::kReservation, scopeId, address});
}

void ServerState::PutScopeOption(DWORD scopeId, DWORD optionId, std::optional<OptionValue> value) {
    Put(m_scopes.at(scopeId).options, optionId, std::move(value));
    m_touched.push_back({Touch::Kind::kScopeOption, scopeId, optionId});
}

void ServerState::PutDefaultOption(DWORD optionId, std::optional<OptionValue> value) {
    Put(m_defaultOptions, optionId, std::move(value));
    m_touched.push_back({Touch::Kind::kDefaultOption, 0, optionId});
}

void ServerState::PutGlobalOption(DWORD optionId, std::optional<OptionValue> value) {
    Put(m_globalOptions, optionId, std::move(value));
    m_touched.push_back({Touch::Kind::kGlobalOption, 0, optionId});
}

void ServerState::PutClient(DWORD address, std::optional<Client> client) {
    if (const auto old = m_clients.find(address); old != m_clients.end())
        ForgetClient(old);
    if (client) {
        if (const auto other = AddressOfClient(client->uniqueId))
            ForgetClient(m_clients.find(*other));
        m_clientAddresses[client->uniqueId] = address;
        if (const ScopeEntry* const scope = ScopeOf(address);
            scope && client->type == CLIENT_TYPE_BOOTP)
            ++m_bootpClientCounts[scope->first];
        m_clients.emplace(address, *std::move(client));
    }
    m_touched.push_back({Touch::Kind::kClient, 0, address});
}

void ServerState::ForgetClient(std::map<DWORD, Client>::iterator client) {
    if (const ScopeEntry* const scope = ScopeOf(client->first);
        scope && client->second.type == CLIENT_TYPE_BOOTP)
        --m_bootpClientCounts[scope->first];
    m_clientAddresses.erase(client->second.uniqueId);
    m_clients.erase(client);
}

}  // namespace lab
