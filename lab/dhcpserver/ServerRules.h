// Rules of a Windows DHCP server for its management API: the order of the checks, the codes and the
// effects. docs/lab.md lists the choices where Microsoft's documents are silent.
#pragma once

#include <string>
#include <vector>

#include "lab/dhcpserver/ServerState.h"

namespace lab {

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

/// One page of an enumeration; the pointers are valid until the state changes.
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

ULONGLONG Now();
ULONGLONG LeaseSeconds(const Scope& scope);

class ServerRules {
public:
    explicit ServerRules(ServerState& state) : m_state(state) {}

    /// Uses only the mask, texts and state of `scope`.
    DWORD CreateScope(DWORD scopeId, Scope scope);
    /// Returns null if there is no such scope; the call must then fail with kSubnetNotPresent.
    const Scope* FindScope(DWORD scopeId) const { return m_state.FindScope(scopeId); }
    DWORD AddRange(DWORD scopeId, AddressRange range);
    DWORD AddExclusion(DWORD scopeId, AddressRange range);
    DWORD AddReservation(DWORD scopeId, DWORD address, const Reservation& reservation);
    DWORD RemoveReservation(DWORD scopeId, DWORD address, const Identifier& hardware);
    DWORD SetOption(DWORD scopeId, DWORD optionId, OptionValue value);
    /// Uses only texts, hardware and expiry of `client`. A dotted `server` is the owner's address.
    DWORD CreateClient(const std::wstring& server, DWORD address, Client client);
    /// Changes name and comment of a record, each only if given.
    DWORD SetClientTexts(DWORD address, const Text& name, const Text& comment);
    /// Continues after the address `resume`. preferredBytes: as passed by the caller of the API.
    DWORD EnumClients(DWORD scopeId, DWORD resume, DWORD preferredBytes, ClientPage& page) const;

private:
    DWORD DeleteClient(DWORD address);

    ServerState& m_state;
};

}  // namespace lab
