// The commands of netsh's dhcp context that a batch file of this project may hold; docs/lab.md
// lists them. Arguments go by position: a name with a blank that nobody quoted moves every word
// behind it, and a word too many makes the command fail.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "lab/dhcpserver/ServerRules.h"

namespace lab {

/// What netsh prints, and what the journal notes behind the arrow.
struct NetshAnswer {
    std::string text;
    std::string result;
};

/// The answer to a code of the server; one from 1700 to 1999 means that it is not reached.
NetshAnswer AnswerTo(DWORD code, const std::wstring& server);

/// One command, found by its keywords; its arguments are not looked at yet.
struct NetshCommand {
    std::wstring server;  // without "\\"; this machine when none is given
    /// Carries the command out: netsh looks for the server, then for the scope, then reads the
    /// arguments.
    std::function<NetshAnswer(ServerState& state)> run;
};

/// The words after "netsh"; none for a command that netsh would not find.
std::optional<NetshCommand> ParseNetsh(const std::vector<std::wstring>& words);

}  // namespace lab
