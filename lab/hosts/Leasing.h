// Which address a DHCP server leases to a host: behind the reservations, which a server puts first,
// the order of RFC 2131, section 4.3.1.
#pragma once

#include "lab/dhcpserver/ServerState.h"

namespace lab {

/// Answers hosts one after the other and holds what they get.
class Leasing {
public:
    /// `now` is a FILETIME: a record that expires later is a lease.
    Leasing(ServerState state, ULONGLONG now) : m_state(std::move(state)), m_now(now) {}

    const ServerState& State() const { return m_state; }

    /// True if the server would lease the address to any host.
    bool IsFree(DWORD address) const {
        const auto* const scope = m_state.ScopeOf(address);
        return scope && scope->second.state == 0 && IsLeasable(scope->second, address) &&
               !scope->second.reservations.count(address) && !IsLeased(address, {});
    }

    /// The address that a host in this scope gets; none if no address is free. `named` is the one
    /// that it asks for. Its record becomes that of a DHCP lease.
    std::optional<DWORD> Ask(DWORD scopeId, const Identifier& hardware, std::optional<DWORD> named,
                             const std::wstring& name) {
        const Scope* const scope = m_state.FindScope(scopeId);
        if (!scope || scope->state != 0)
            return std::nullopt;
        const DWORD* const reserved = m_state.ReservedAddress(scopeId, hardware);
        const DWORD* const record = m_state.AddressOfClient(UniqueId(scopeId, hardware));
        const bool hasLease = record && m_state.FindClient(*record)->expires != 0;
        std::optional<DWORD> address;
        if (reserved && !IsLeased(*reserved, hardware))
            address = *reserved;
        else if (hasLease && IsLeasable(*scope, *record) && !scope->reservations.count(*record))
            address = *record;
        else if (named && IsInSubnet(scopeId, scope->mask, *named) && IsFree(*named))
            address = named;
        else
            address = FirstFree(scopeId, *scope);
        if (!address)
            return std::nullopt;
        if (record && *record != *address)
            m_lowestFree.erase(scopeId);  // the host gives its address up
        const auto time = scope->options.find(51);
        const bool isSet = time != scope->options.end() && !time->second.empty();
        const ULONGLONG seconds = isSet ? time->second.front().number : 691200;
        Client lease;
        lease.hardware = hardware;
        lease.name = name + L".example";  // a host gives its name with a domain
        lease.expires = m_now + seconds * 10'000'000;
        lease.type = api::kTypeDhcp;
        m_state.PutClient(*address, std::move(lease));
        return address;
    }

private:
    static bool IsLeasable(const Scope& scope, DWORD address) {
        const auto after = scope.exclusions.upper_bound(address);
        return scope.range && scope.range->Contains({address, address}) &&
               (after == scope.exclusions.begin() || std::prev(after)->second < address);
    }
    bool IsLeased(DWORD address, const Identifier& toOtherThan) const {
        const Client* const client = m_state.FindClient(address);
        return client && client->expires > m_now && client->hardware != toOtherThan;
    }
    std::optional<DWORD> FirstFree(DWORD scopeId, const Scope& scope) {
        const AddressRange range = scope.range.value_or(AddressRange{1, 0});
        DWORD& lowest = m_lowestFree.emplace(scopeId, range.first).first->second;
        while (lowest < range.last && !IsFree(lowest))
            ++lowest;
        return IsFree(lowest) ? std::optional<DWORD>(lowest) : std::nullopt;
    }

    ServerState m_state;
    ULONGLONG m_now;
    std::map<DWORD, DWORD> m_lowestFree;  // by scope: no address below is free
};

}  // namespace lab
