// Which address a DHCP server leases to a host: behind the reservations, which a server puts first,
// the order of RFC 2131, section 4.3.1.
#pragma once

#include "lab/dhcpserver/ServerRules.h"

namespace lab {

/// Answers hosts one after the other and keeps their leases. 0 means no address.
class Leasing {
public:
    /// `now` is a FILETIME: a record that expires later is a lease.
    Leasing(ServerState state, ULONGLONG now) : m_state(std::move(state)), m_now(now) {}

    const ServerState& State() const { return m_state; }

    /// True if the server would lease the address to any host.
    bool IsFree(DWORD address) const {
        const auto* const scope = m_state.ScopeOf(address);
        return scope && IsLeasable(scope->second, address) && !IsLeased(address, {}) &&
               !scope->second.reservations.count(address);
    }

    /// The address that a host in the network of `home` gets if it asks for `named`. Its record
    /// becomes that of a DHCP lease.
    DWORD Ask(DWORD home, DWORD named, const Identifier& hardware, const std::wstring& name) {
        const auto* const entry = m_state.ScopeOf(home);
        if (!entry || entry->second.state != 0)
            return 0;
        const auto& [id, scope] = *entry;
        const DWORD* const reserved = m_state.ReservedAddress(id, hardware);
        const DWORD* const record = m_state.AddressOfClient(UniqueId(id, hardware));
        const bool hadLease = record && m_state.FindClient(*record)->expires != 0;
        DWORD address = 0;
        if (reserved && !IsLeased(*reserved, hardware))
            address = *reserved;
        else if (hadLease && IsLeasable(scope, *record) && !scope.reservations.count(*record))
            address = *record;
        else if (IsInSubnet(id, scope.mask, named) && IsFree(named))
            address = named;
        else
            address = FirstFree(id, scope);
        if (address == 0)
            return 0;
        const ULONGLONG expires = m_now + LeaseSeconds(scope) * 10'000'000;
        // A host gives its name with a domain.
        Client lease{hardware, name + L".example", {}, expires, api::kTypeDhcp, {}};
        m_state.PutClient(address, std::move(lease));
        return address;
    }

private:
    static bool IsLeasable(const Scope& scope, DWORD address) {
        const auto after = scope.exclusions.upper_bound(address);
        return scope.state == 0 && scope.range && scope.range->Contains({address, address}) &&
               (after == scope.exclusions.begin() || std::prev(after)->second < address);
    }
    bool IsLeased(DWORD address, const Identifier& toOtherThan) const {
        const Client* const client = m_state.FindClient(address);
        return client && client->expires > m_now && client->hardware != toOtherThan;
    }
    DWORD FirstFree(DWORD scopeId, const Scope& scope) {
        const AddressRange range = scope.range.value_or(AddressRange{0, 0});
        DWORD& lowest = m_lowestFree.emplace(scopeId, range.first).first->second;
        while (lowest < range.last && !IsFree(lowest))
            ++lowest;
        return IsFree(lowest) ? lowest : 0;
    }

    ServerState m_state;
    ULONGLONG m_now;
    std::map<DWORD, DWORD> m_lowestFree;  // by scope; never goes back to addresses given up
};

}  // namespace lab
