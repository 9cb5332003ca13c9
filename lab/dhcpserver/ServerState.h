// What a DHCP server remembers: scopes with everything in them, options, client records.
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

#include "dhcpserver/DhcpApi.h"

namespace lab {

using Text = std::optional<std::wstring>;
using Identifier = std::string;

/// Both ends included.
struct AddressRange {
    DWORD first;
    DWORD last;

    bool Contains(DWORD address) const { return first <= address && address <= last; }
    bool Contains(const AddressRange& other) const {
        return first <= other.first && other.last <= last;
    }
};

/// Option data types that the API has beyond those the tool's header names.
constexpr DWORD kBinaryOption = 6;
constexpr DWORD kEncapsulatedOption = 7;
constexpr DWORD kIpv6Option = 8;

/// One element of an option value; the type tells which member counts.
struct OptionElement {
    DWORD type;            // DHCP_OPTION_DATA_TYPE, 0 to 8
    ULONGLONG number = 0;  // byte to address
    std::wstring text;     // string, IPv6
    Identifier binary;     // binary, encapsulated
};
using OptionValue = std::vector<OptionElement>;
using Options = std::map<DWORD, OptionValue>;

struct Reservation {
    Identifier hardware;  // as the caller gave it, without the prefix of a unique id
    BYTE allowedTypes;    // CLIENT_TYPE_DHCP, _BOOTP or _BOTH
    Options options;
};

struct Scope {
    DWORD mask;
    Text name;
    Text comment;
    DWORD state;
    std::optional<AddressRange> range;
    std::map<DWORD, DWORD> exclusions;  // last address by first; they never overlap
    std::map<DWORD, Reservation> reservations;
    Options options;
};

struct Client {
    Identifier uniqueId;  // scope id, 01, hardware address
    Text name;
    Text comment;
    ULONGLONG expires;  // 0: never leased
    BYTE type;
    Text ownerName;
    DWORD ownerAddress;
};

/// The bytes that precede the hardware address in a unique id.
constexpr std::size_t kUniqueIdPrefixBytes = 5;

/// The key of a client record: the scope id as a little-endian number, 01, the hardware address.
Identifier UniqueId(DWORD scopeId, const Identifier& hardware);

/// True when the address lies in the subnet; the mask may have holes.
inline bool IsInSubnet(DWORD scopeId, DWORD mask, DWORD address) {
    return (address & mask) == scopeId;
}

/// The state with its indexes. Every change goes through a Put function and is noted in Touched(),
/// so that a store can save exactly what one call changed. A Put with nothing removes.
class ServerState {
public:
    /// One thing that a call changed or removed.
    struct Touch {
        enum class Kind {
            kScope,
            kRange,
            kExclusion,
            kReservation,
            kScopeOption,
            kDefaultOption,
            kGlobalOption,
            kClient
        };
        Kind kind;
        DWORD scope;
        DWORD key;  // address or option id
    };

    using ScopeEntry = std::pair<const DWORD, Scope>;

    const std::map<DWORD, Scope>& Scopes() const { return m_scopes; }
    const std::map<DWORD, Client>& Clients() const { return m_clients; }
    const Options& DefaultOptions() const { return m_defaultOptions; }
    const Options& GlobalOptions() const { return m_globalOptions; }
    /// First and last ids of the defined options, both included.
    const std::vector<AddressRange>& OptionDefinitions() const { return m_optionDefinitions; }
    bool IsOptionDefined(DWORD optionId) const;

    const Scope* FindScope(DWORD scopeId) const;
    /// The scope whose subnet holds the address; null when there is none.
    const ScopeEntry* ScopeOf(DWORD address) const;
    /// True when a scope shares addresses with this block.
    bool OverlapsScope(DWORD scopeId, DWORD mask) const;
    const Client* FindClient(DWORD address) const;
    std::optional<DWORD> AddressOfClient(const Identifier& uniqueId) const;
    std::optional<DWORD> ReservedAddress(DWORD scopeId, const Identifier& hardware) const;
    bool HasBootpClients(DWORD scopeId) const;

    /// A new scope with everything in it; clients are apart.
    void PutScope(DWORD scopeId, Scope scope);
    // The scope must exist.
    void PutRange(DWORD scopeId, std::optional<AddressRange> range);
    void PutExclusion(DWORD scopeId, DWORD first, std::optional<DWORD> last);
    void PutReservation(DWORD scopeId, DWORD address, std::optional<Reservation> reservation);
    void PutScopeOption(DWORD scopeId, DWORD optionId, std::optional<OptionValue> value);
    void PutDefaultOption(DWORD optionId, std::optional<OptionValue> value);
    void PutGlobalOption(DWORD optionId, std::optional<OptionValue> value);
    /// Replaces whatever held the address or the unique id before.
    void PutClient(DWORD address, std::optional<Client> client);
    void SetOptionDefinitions(std::vector<AddressRange> ids) {
        m_optionDefinitions = std::move(ids);
    }

    const std::vector<Touch>& Touched() const { return m_touched; }
    void ForgetTouched() { m_touched.clear(); }

private:
    void ForgetClient(std::map<DWORD, Client>::iterator client);

    std::map<DWORD, Scope> m_scopes;
    std::map<DWORD, Client> m_clients;
    Options m_defaultOptions;
    Options m_globalOptions;
    std::vector<AddressRange> m_optionDefinitions = {{1, 76}, {81, 81}};

    // Reserved addresses by unique id: the prefix tells the scopes apart.
    std::unordered_map<Identifier, DWORD> m_reservedAddresses;
    std::unordered_map<Identifier, DWORD> m_clientAddresses;
    std::map<DWORD, std::size_t> m_bootpClientCounts;  // by scope id
    std::vector<Touch> m_touched;
};

}  // namespace lab
