#include "lab/dhcpserver/ServerState.h"

#include <cwchar>

#include "lab/journal/Text.h"

namespace lab {
namespace {

template <class Map, class Key>
auto Find(const Map& map, const Key& key) {
    const auto found = map.find(key);
    return found == map.end() ? nullptr : &found->second;
}

}  // namespace

Identifier UniqueId(DWORD scopeId, const Identifier& hardware) {
    Identifier id;
    for (int shift = 0; shift < 32; shift += 8)
        id += static_cast<char>(scopeId >> shift & 0xFF);
    id += '\x01';
    return id + hardware;
}

bool ServerState::IsReachedBy(const std::wstring& server) const {
    for (const std::wstring& address : addresses)
        if (::_wcsicmp(address.c_str(), server.c_str()) == 0)
            return true;
    return addresses.empty() && ParseAddress(server);
}

const Scope* ServerState::FindScope(DWORD scopeId) const {
    return Find(m_scopes, scopeId);
}

const ServerState::ScopeEntry* ServerState::ScopeOf(DWORD address) const {
    // Scopes never overlap, so only the nearest id below can contain the address.
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

const DWORD* ServerState::AddressOfClient(const Identifier& uniqueId) const {
    return Find(m_clientAddresses, uniqueId);
}

const DWORD* ServerState::ReservedAddress(DWORD scopeId, const Identifier& hardware) const {
    return Find(m_reservedAddresses, UniqueId(scopeId, hardware));
}

Scope& ServerState::ChangeScope(DWORD scopeId) {
    isChanged = true;
    return m_scopes[scopeId];
}

void ServerState::PutReservation(DWORD scopeId, DWORD address,
                                 std::optional<Reservation> reservation) {
    auto& reservations = m_scopes.at(scopeId).reservations;
    if (const auto old = reservations.find(address); old != reservations.end()) {
        m_reservedAddresses.erase(UniqueId(scopeId, old->second.hardware));
        reservations.erase(old);
    }
    if (reservation) {
        m_reservedAddresses[UniqueId(scopeId, reservation->hardware)] = address;
        reservations.emplace(address, *std::move(reservation));
    }
    isChanged = true;
}

void ServerState::PutClient(DWORD address, std::optional<Client> client) {
    if (const auto old = m_clients.find(address); old != m_clients.end())
        ForgetClient(old);
    if (client) {
        const Identifier uniqueId = UniqueId(ScopeOf(address)->first, client->hardware);
        if (const DWORD* const other = AddressOfClient(uniqueId))
            ForgetClient(m_clients.find(*other));
        m_clientAddresses[uniqueId] = address;
        m_clients.emplace(address, *std::move(client));
    }
    isChanged = true;
}

void ServerState::ForgetClient(std::map<DWORD, Client>::iterator client) {
    m_clientAddresses.erase(UniqueId(ScopeOf(client->first)->first, client->second.hardware));
    m_clients.erase(client);
}

}  // namespace lab
