// The state of a DHCP server: scopes with their contents, and client records. Addresses and masks
// are 32-bit numbers in host order; times are FILETIME values (100 ns units since 1601, UTC). A
// text is nullopt if the API passed a null pointer. Identifiers are raw bytes.
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

/// One element of an option's value. type: api::kOptionDword or api::kOptionAddress.
struct OptionElement {
    DWORD type;
    DWORD number;
};
using OptionValue = std::vector<OptionElement>;

struct Reservation {
    Identifier hardware;  // as the caller passed it, without the prefix of a unique id
    BYTE allowedTypes = api::kTypeBoth;
};

struct Scope {
    DWORD mask = 0;
    Text name;
    Text comment;
    DWORD state = 0;
    // Texts of the primary host. Only a state written by hand contains them.
    Text netBiosName;
    Text hostName;
    std::optional<AddressRange> range;
    std::map<DWORD, DWORD> exclusions;  // first address -> last; they never overlap
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

/// The key of a record: scope id as a little-endian number, 01, hardware address.
Identifier UniqueId(DWORD scopeId, const Identifier& hardware);

/// True if the address is in the subnet; the mask may have holes.
inline bool IsInSubnet(DWORD scopeId, DWORD mask, DWORD address) {
    return (address & mask) == scopeId;
}

/// True if the range is not backwards and both ends are in the scope's subnet.
inline bool IsInScope(DWORD scopeId, const Scope& scope, const AddressRange& range) {
    return range.first <= range.last && IsInSubnet(scopeId, scope.mask, range.first) &&
           IsInSubnet(scopeId, scope.mask, range.last);
}

class ServerState {
public:
    using ScopeEntry = std::pair<const DWORD, Scope>;

    /// Names and addresses of the server. Without any, every address reaches it and no name does.
    std::vector<std::wstring> addresses;
    bool IsReachedBy(const std::wstring& server) const;

    const std::map<DWORD, Scope>& Scopes() const { return m_scopes; }
    const std::map<DWORD, Client>& Clients() const { return m_clients; }

    const Scope* FindScope(DWORD scopeId) const;
    /// Returns the scope whose subnet contains the address, or null.
    const ScopeEntry* ScopeOf(DWORD address) const;
    /// True if an existing scope shares addresses with this one.
    bool OverlapsScope(DWORD scopeId, DWORD mask) const;
    const Client* FindClient(DWORD address) const;
    const DWORD* AddressOfClient(const Identifier& uniqueId) const;
    const DWORD* ReservedAddress(DWORD scopeId, const Identifier& hardware) const;

    /// Returns a scope for changes, but not of its reservations. Creates a missing scope.
    Scope& ChangeScope(DWORD scopeId);
    /// The scope must exist. nullopt removes the reservation.
    void PutReservation(DWORD scopeId, DWORD address, std::optional<Reservation> reservation);
    /// The scope must exist. Replaces records with this address or unique id; nullopt removes.
    void PutClient(DWORD address, std::optional<Client> client);

    /// True if the state changed after this was cleared.
    bool isChanged = false;

private:
    void ForgetClient(std::map<DWORD, Client>::iterator client);

    std::map<DWORD, Scope> m_scopes;
    std::map<DWORD, Client> m_clients;
    // These map a unique id, which contains the scope id, to its address.
    std::unordered_map<Identifier, DWORD> m_reservedAddresses;
    std::unordered_map<Identifier, DWORD> m_clientAddresses;
};

}  // namespace lab
