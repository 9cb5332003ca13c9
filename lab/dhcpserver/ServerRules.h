// How a Windows DHCP server answers the calls of its management API: the checks in their order,
// the codes, what each call leaves behind. Where Microsoft's documents are silent the comments in
// the source say what was chosen; docs/lab.md lists the choices.
#pragma once

#include <string>
#include <vector>

#include "lab/dhcpserver/ServerState.h"

namespace lab {

/// The server's own error numbers that these calls answer with.
enum DhcpServerError : DWORD {
    kSubnetNotPresent = 20005,
    kOptionNotPresent = 20010,
    kJetError = 20013,
    kNotReservedClient = 20018,
    kReservedClient = 20019,
    kRangeExists = 20021,
    kReservationExists = 20022,
    kInvalidRange = 20023,
    kSubnetExists = 20052
};

/// One page of an enumeration; the pointers live until the state changes.
struct ClientPage {
    struct Entry {
        DWORD address;
        DWORD mask;  // the scope's
        const Client* client;
    };
    bool hasArray = false;
    std::vector<Entry> clients;
    DWORD resume = 0;
    DWORD total = 0;
};

class ServerRules {
public:
    explicit ServerRules(ServerState& state) : m_state(state) {}

    /// Of the scope its mask, texts and state count.
    DWORD CreateScope(DWORD scopeId, Scope scope);
    /// Null: kSubnetNotPresent.
    const Scope* FindScope(DWORD scopeId) const { return m_state.FindScope(scopeId); }
    DWORD AddRange(DWORD scopeId, AddressRange range);
    DWORD AddExclusion(DWORD scopeId, AddressRange range);
    DWORD AddReservation(DWORD scopeId, DWORD address, const Reservation& reservation);
    DWORD RemoveReservation(DWORD scopeId, DWORD address, const Identifier& hardware);
    DWORD SetOption(DWORD scopeId, DWORD optionId, OptionValue value);
    /// Of the client its texts, hardware address and expiry count. The server text becomes the
    /// owner's address when it is a dotted one.
    DWORD CreateClient(const std::wstring& server, DWORD address, Client client);
    /// Changes name and comment of a record, each only when given.
    DWORD SetClientTexts(DWORD address, const Text& name, const Text& comment);
    /// Reads on after the address `resume`; `preferredBytes` as the caller of the API gives it.
    DWORD EnumClients(DWORD scopeId, DWORD resume, DWORD preferredBytes, ClientPage& page) const;

private:
    DWORD DeleteClient(DWORD address);

    ServerState& m_state;
};

}  // namespace lab
