// What a DHCP server remembers: scopes with everything in them, and client records.
//
// Addresses and masks are 32-bit numbers in host order, times FILETIME values (100 ns units since
// 1601, UTC). A text is none where the API handed over a null pointer. Identifiers are raw bytes.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "lab/dhcpserver/Api.h"

namespace lab {

using Text = std::optional<std::wstring>;
using Identifier = std::string;
constexpr std::size_t kMaxIdentifierBytes = 255;

/// Both ends included.
struct AddressRange {
    DWORD first;
    DWORD last;

    bool Contains(const AddressRange& other) const {
        return first <= other.first && other.last <= last;
    }
};

/// One element of an option's value: api::kOptionDword or api::kOptionAddress.
struct OptionElement {
    DWORD type;
    DWORD number;
};
using OptionValue = std::vector<OptionElement>;

struct Reservation {
    Identifier hardware;  // as the caller gave it, without the prefix of a unique id
    BYTE allowedTypes = api::kTypeBoth;
};

struct Scope {
    DWORD mask = 0;
    Text name;
    Text comment;
    DWORD state = 0;
    // Of the primary host; only a state written by hand has them.
    Text netBiosName;
    Text hostName;
    std::optional<AddressRange> range;
    std::map<DWORD, DWORD> exclusions;  // last address by first; they never overlap
    std::map<DWORD, OptionValue> options;
    std::map<DWORD, Reservation> reservations;
};

struct Client {
    Identifier hardware;
    Text name;
    Text comment;
    ULONGLONG expires = 0;  // 0: never leased
    BYTE type = api::kTypeNone;
    Text ownerName;
    DWORD ownerAddress = 0xFFFFFFFF;
};

/// What tells records apart: the scope id as a little-endian number, 01, the hardware address.
Identifier UniqueId(DWORD scopeId, const Identifier& hardware);

/// True when the address lies in the subnet; the mask may have holes.
inline bool IsInSubnet(DWORD scopeId, DWORD mask, DWORD address) {
    return (address & mask) == scopeId;
}

/// True when the range is not backwards and both ends lie in the scope's subnet.
inline bool IsInScope(DWORD scopeId, const Scope& scope, const AddressRange& range) {
    return range.first <= range.last && IsInSubnet(scopeId, scope.mask, range.first) &&
           IsInSubnet(scopeId, scope.mask, range.last);
}

/// The state with its indexes.
class ServerState {
public:
    using ScopeEntry = std::pair<const DWORD, Scope>;

    /// The names and addresses by which the server is reached. Without any it is reached by every
    /// address and by no name.
    std::vector<std::wstring> addresses;
    bool IsReachedBy(const std::wstring& server) const;

    const std::map<DWORD, Scope>& Scopes() const { return m_scopes; }
    const std::map<DWORD, Client>& Clients() const { return m_clients; }

    const Scope* FindScope(DWORD scopeId) const;
    /// The scope whose subnet holds the address; null when there is none.
    const ScopeEntry* ScopeOf(DWORD address) const;
    /// True when a scope shares addresses with this block.
    bool OverlapsScope(DWORD scopeId, DWORD mask) const;
    const Client* FindClient(DWORD address) const;
    const DWORD* AddressOfClient(const Identifier& uniqueId) const;
    const DWORD* ReservedAddress(DWORD scopeId, const Identifier& hardware) const;

    /// The scope, made when there is none, to change what is in it except its reservations.
    Scope& ChangeScope(DWORD scopeId);
    /// Into a scope that exists. None removes.
    void PutReservation(DWORD scopeId, DWORD address, std::optional<Reservation> reservation);
    /// Into a scope that exists; replaces whatever held the address or the unique id before. None
    /// removes.
    void PutClient(DWORD address, std::optional<Client> client);

    /// Anything was changed since this was set.
    bool isChanged = false;

private:
    void ForgetClient(std::map<DWORD, Client>::iterator client);

    std::map<DWORD, Scope> m_scopes;
    std::map<DWORD, Client> m_clients;
    // Reserved addresses by unique id: the prefix tells the scopes apart.
    std::unordered_map<Identifier, DWORD> m_reservedAddresses;
    std::unordered_map<Identifier, DWORD> m_clientAddresses;
};

}  // namespace lab
