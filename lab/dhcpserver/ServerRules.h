// How a Windows DHCP server answers the calls of its management API: the checks in their order,
// the codes, what each call leaves behind. Where Microsoft's documents are silent the comments in
// the source say what was chosen; docs/lab.md lists the choices that can be switched.
//
// The records are those of the API, as a caller hands them over. A null pointer inside them is
// answered as the server does; the argument pointers themselves must not be null.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "dhcpserver/DhcpApi.h"
#include "lab/dhcpserver/ServerState.h"

namespace lab {

/// The server's own error numbers that these calls answer with.
enum DhcpServerError : DWORD {
    kSubnetNotPresent = 20005,
    kElementCantRemove = 20007,
    kOptionNotPresent = 20010,
    kJetError = 20013,
    kNotReservedClient = 20018,
    kReservedClient = 20019,
    kRangeExists = 20021,
    kReservationExists = 20022,
    kInvalidRange = 20023,
    kRangeConversionIllegal = 20049,
    kSubnetExists = 20052
};

/// What documents leave open, and what tells one server from another.
struct ServerSettings {
    std::wstring serverName = L"DHCPLAB";          // NetBIOS name, owner of the records made
    DWORD reserveLeasedCode = kReservationExists;  // reserving an address another client holds
    DWORD enumUnknownSubnetCode = ERROR_SUCCESS;   // or kSubnetNotPresent
    DWORD pageBytes = 0;          // size of an enumeration page; 0: as the caller asks
    bool nullEmptyPages = false;  // an empty page comes without an array
    bool enumStuck = false;       // enumerations promise more for ever

    /// The DHCPLAB_ variables; texts that are not understood are appended to errors.
    static ServerSettings FromEnvironment(std::vector<std::string>& errors);
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
    using Clock = std::function<ULONGLONG()>;  // FILETIME units

    ServerRules(ServerState& state, const ServerSettings& settings, Clock clock = SystemTime);

    DWORD CreateSubnet(DWORD subnetAddress, const DHCP_SUBNET_INFO* info);
    DWORD GetSubnetInfo(DWORD subnetAddress, const Scope*& scope) const;
    DWORD AddElement(DWORD subnetAddress, const DHCP_SUBNET_ELEMENT_DATA_V4& element);
    DWORD RemoveElement(DWORD subnetAddress, const DHCP_SUBNET_ELEMENT_DATA_V4& element,
                        DHCP_FORCE_FLAG force);
    DWORD SetOptionValue(DWORD optionId, const DHCP_OPTION_SCOPE_INFO& where,
                         const DHCP_OPTION_DATA& value);
    /// The server text becomes the owner's address when it is a dotted one.
    DWORD CreateClient(const WCHAR* server, const DHCP_CLIENT_INFO_V4& info);
    /// Changes name and comment of a record, each only when given.
    DWORD SetClientTexts(DWORD address, const WCHAR* name, const WCHAR* comment);
    DWORD DeleteClient(DWORD address);
    /// Reads on after the address `resume`; `preferredBytes` as the caller of the API gives it.
    DWORD EnumClients(DWORD subnetAddress, DWORD resume, DWORD preferredBytes,
                      ClientPage& page) const;

    static ULONGLONG SystemTime();

private:
    DWORD AddRange(DWORD scopeId, DHCP_SUBNET_ELEMENT_TYPE type, const DHCP_IP_RANGE* range);
    DWORD AddExclusion(DWORD scopeId, const DHCP_IP_RANGE* range);
    DWORD AddReservation(DWORD scopeId, const DHCP_IP_RESERVATION_V4* record);
    DWORD RemoveRange(DWORD scopeId, const DHCP_IP_RANGE* range, DHCP_FORCE_FLAG force);
    DWORD RemoveExclusion(DWORD scopeId, const DHCP_IP_RANGE* range);
    DWORD RemoveReservation(DWORD scopeId, const DHCP_IP_RESERVATION_V4* record);
    ULONGLONG LeaseSeconds(const Scope& scope) const;

    ServerState& m_state;
    const ServerSettings& m_settings;
    Clock m_clock;
};

}  // namespace lab
