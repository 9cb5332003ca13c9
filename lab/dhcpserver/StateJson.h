// The server's state as JSON:
//
//   {"server":  {"addresses": ["10.0.0.2", "dhcp1"]},
//    "scopes":  {"10.1.0.0": {"mask": "255.255.0.0", "name": "Main", "comment": null, "state": 0,
//                             "range": {"first": "10.1.0.1", "last": "10.1.255.254"},
//                             "exclusions": {"10.1.0.1": "10.1.0.9"},
//                             "options": {"3": [{"ip": "10.1.0.1"}], "51": [{"dword": 691200}]},
//                             "reservations": {"10.1.0.5": {"mac": "00-1a-...", "types": 3}}}},
//    "clients": {"10.1.0.5": {"mac": "00-1a-...", "name": "PC", "comment": null, "expires": 0,
//                             "type": 100, "ownerName": "DHCPLAB",
//                             "ownerAddress": "255.255.255.255"}}}
//
// A scope may also have "netBiosName" and "hostName", the texts of its primary host.
#pragma once

#include <string>
#include <string_view>

#include "lab/dhcpserver/ServerState.h"

namespace lab {

/// Returns the whole state; equal states give equal texts.
std::string SnapshotText(const ServerState& state);

/// Reads a snapshot, possibly written by hand, into an empty state. Throws std::runtime_error with
/// the place if the text is not JSON or describes what no server can hold.
void ReadSnapshot(std::string_view text, ServerState& state);

}  // namespace lab
