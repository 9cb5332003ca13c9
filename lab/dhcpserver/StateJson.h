// The server's state as JSON, in one form for all of it and for what a single call changed:
//
//   {"server":  {"optionDefinitions": "1-76, 81", "defaults": {}, "options": {}},
//    "scopes":  {"10.1.0.0": {"mask": "255.255.0.0", "name": "Main", "comment": null, "state": 0,
//                             "range": {"first": "10.1.0.1", "last": "10.1.255.254"},
//                             "exclusions": {"10.1.0.1": "10.1.0.9"},
//                             "reservations": {"10.1.0.5": {"mac": "00-1a-...", "types": 3}},
//                             "options": {"3": [{"ip": "10.1.0.1"}]}}},
//    "clients": {"10.1.0.5": {"mac": "00-1a-...", "uniqueId": "0000010a01001a...", "name": "PC",
//                             "comment": null, "expires": 0, "type": 100, "ownerName": "DHCPLAB",
//                             "ownerAddress": "255.255.255.255"}}}
//
// Whatever a text leaves out stays as it was; an entry that is null is removed.
#pragma once

#include <string>
#include <string_view>

#include "lab/dhcpserver/ServerState.h"

namespace lab {

/// The whole state, in an order that depends on nothing but the state.
std::string SnapshotText(const ServerState& state);

/// What the state notes as touched, on one line without its end.
std::string ChangeLine(const ServerState& state);

/// Brings a snapshot or a change into the state. Throws std::runtime_error, naming the place, when
/// the text is no JSON or says something that a server cannot hold.
void ApplyJson(std::string_view text, ServerState& state);

}  // namespace lab
