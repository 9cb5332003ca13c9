// The commands of netsh's dhcp context that a batch file of this project may hold.
//
//   dhcp server [\\Name | Address] add scope ID MASK NAME [COMMENT]
//   dhcp server [...] scope ID add iprange FIRST LAST [DHCP|BOOTP|BOTH] [MAXBOOTP]
//   dhcp server [...] scope ID add excluderange FIRST LAST
//   dhcp server [...] scope ID set optionvalue CODE TYPE [user=..] [vendor=..] [FORCE] VALUE...
//   dhcp server [...] scope ID add reservedip ADDRESS MAC [NAME] [COMMENT] [DHCP|BOOTP|BOTH]
//   dhcp server [...] scope ID delete reservedip ADDRESS MAC
//
// Keywords in any case. Arguments go by position: a name with a blank that nobody quoted moves
// every word behind it, and a word too many makes the command fail.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "lab/dhcpserver/ServerRules.h"

namespace lab {

/// One command, understood but not carried out.
struct NetshCommand {
    enum class Verb {
        kAddScope,
        kAddRange,
        kAddExclusion,
        kSetOption,
        kAddReservation,
        kDeleteReservation
    };
    Verb verb;
    std::wstring server;  // without "\\", empty for this machine
    DWORD scope = 0;
    bool isScopeValid = true;          // the scope's id is an address
    std::optional<std::string> usage;  // set: wrong arguments, this is netsh's answer

    DWORD mask = 0;
    AddressRange range{};  // also a reservation's address, twice
    DHCP_SUBNET_ELEMENT_TYPE rangeType = DhcpIpRanges;
    Identifier hardware;
    BYTE clientTypes = CLIENT_TYPE_BOTH;
    std::optional<std::wstring> name;
    std::optional<std::wstring> comment;
    DWORD optionId = 0;
    OptionValue optionValue;
    bool isDefaultClass = true;

    /// The words after "netsh"; none for a command that netsh would not find.
    static std::optional<NetshCommand> Parse(const std::vector<std::wstring>& words);

    /// Carries the command out by the server's rules; `rules` are those of one server. The scope
    /// must have been looked for already.
    DWORD Run(ServerRules& rules) const;
};

/// netsh's sentence for a code of the server.
std::string NetshErrorText(DWORD code);

}  // namespace lab
