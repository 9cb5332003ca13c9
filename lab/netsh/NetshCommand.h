// The commands of netsh's dhcp context that the program's batch files contain (docs/lab.md).
// Arguments are positional: an unquoted name with a blank shifts all words after it, and one word
// too many makes the command fail.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "lab/dhcpserver/ServerRules.h"

namespace lab {

/// The output of netsh, and the result for the journal.
struct NetshAnswer {
    std::string text;
    std::string result;
};

/// Returns the answer for a code of the server; 1700 to 1999 mean that it was not reached.
NetshAnswer AnswerTo(DWORD code, const std::wstring& server);

/// A command, found by its keywords. Its arguments are not parsed yet.
struct NetshCommand {
    std::wstring server;  // without "\\"; 127.0.0.1 if missing
    /// Executes the command like netsh: finds the server, then the scope, then reads the arguments.
    std::function<NetshAnswer(ServerState& state)> run;
};

/// words: those after "netsh". Returns nullopt for a command that netsh would not find.
std::optional<NetshCommand> ParseNetsh(const std::vector<std::wstring>& words);

}  // namespace lab
