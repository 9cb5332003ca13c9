// netsh.exe: carries out one command of a batch file on the server's state.
#include <cstdio>
#include <stdexcept>

#include "lab/dhcpserver/AddressText.h"
#include "lab/dhcpserver/StateFile.h"
#include "lab/journal/FaultScript.h"
#include "lab/journal/Journal.h"
#include "lab/netsh/NetshCommand.h"

namespace lab {
namespace {

/// What netsh prints, and what the journal notes behind the arrow.
struct Answer {
    std::string text;
    std::string result;
};

Answer FailureOf(DWORD code) {
    return {NetshErrorText(code), std::to_string(code)};
}

Answer Unreachable(const NetshCommand& command, DWORD code) {
    return {"Unable to determine the DHCP Server version for the Server " + ToUtf8(command.server) +
                ".\nServer may not function properly.",
            std::to_string(code)};
}

/// netsh asks the server for its version first, then looks for the scope, then reads the words.
Answer Answered(const NetshCommand& command, ServerState& state, const ServerSettings& settings) {
    const bool isInScope = command.verb != NetshCommand::Verb::kAddScope;
    if (isInScope && (!command.isScopeValid || !state.FindScope(command.scope)))
        return {"The command needs a valid Scope IP Address.", "no scope"};
    const std::string context = isInScope ? "\nChanged the current scope context to " +
                                                Dotted(command.scope) + " scope.\n\n"
                                          : "";
    if (command.usage)
        return {context + *command.usage, "usage"};
    if (!command.isDefaultClass)
        return {context + "The specified class does not exist.", "no class"};
    ServerRules rules(state, settings);
    const DWORD code = command.Run(rules);
    return {context + (code ? NetshErrorText(code) : "Command completed successfully."),
            std::to_string(code)};
}

Answer Execute(const std::vector<std::wstring>& words) {
    const auto command = NetshCommand::Parse(words);
    if (!command) {
        std::string line;
        for (const std::wstring& word : words)
            line += (line.empty() ? "" : " ") + ToUtf8(word);
        return {"The following command was not found: " + line + ".", "not found"};
    }
    if (const auto fault = FaultFor("netsh")) {
        const bool isReached = *fault < 1700 || *fault > 1999;  // the codes of remote calls
        return isReached ? FailureOf(*fault) : Unreachable(*command, *fault);
    }
    std::vector<std::string> errors;
    const ServerSettings settings = ServerSettings::FromEnvironment(errors);
    for (const std::string& error : errors)
        JournalMisuse(error);
    try {
        StateFile file(StateFile::PathFromEnvironment());
        Answer answer;
        file.Run([&](ServerState& state) {
            answer = Answered(*command, state, settings);
            return ERROR_SUCCESS;
        });
        file.Close();
        return answer;
    } catch (const std::exception& error) {
        JournalMisuse(std::string("server state ") + Escape(error.what()));
        return FailureOf(kJetError);
    }
}

}  // namespace
}  // namespace lab

int wmain(int argc, wchar_t** argv) {
    const std::vector<std::wstring> words(argv + (argc > 0), argv + argc);
    const lab::Answer answer = lab::Execute(words);
    std::string line = "netsh";
    for (const std::wstring& word : words) {
        const bool isBare = !word.empty() && word.find_first_of(L" \t\"") == word.npos;
        line += ' ' + (isBare ? lab::Escape(std::wstring_view(word)) : lab::Quoted(word.c_str()));
    }
    lab::Journal(line + " -> " + answer.result);
    std::printf("%s\n", answer.text.c_str());
    return answer.result == "0" ? 0 : 1;
}
