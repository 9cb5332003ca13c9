// netsh.exe: executes one command of a batch file on the server's state.
#include <cstdio>
#include <stdexcept>

#include "lab/dhcpserver/StateFile.h"
#include "lab/journal/Environment.h"
#include "lab/journal/FaultScript.h"
#include "lab/journal/Journal.h"
#include "lab/netsh/NetshCommand.h"

namespace lab {
namespace {

NetshAnswer Execute(const std::vector<std::wstring>& words) {
    const auto command = ParseNetsh(words);
    if (!command) {
        std::string line;
        for (const std::wstring& word : words)
            line += (line.empty() ? "" : " ") + ToUtf8(word);
        return {"The following command was not found: " + line + ".", "not found"};
    }
    const Fault fault = FaultFor("netsh");
    NetshAnswer answer;
    try {
        if (!fault.IsRefusal()) {
            StateFile file(EnvironmentText(L"DHCPLAB_SERVER_STATE"));
            answer = AnswerTo(RPC_S_SERVER_UNAVAILABLE, command->server);
            file.Run([&](ServerState& state) {
                answer = command->run(state);
                return ERROR_SUCCESS;
            });
            file.Close();
        }
    } catch (const std::exception& error) {
        JournalMisuse(std::string("server state ") + Escape(error.what()));
        answer = AnswerTo(kJetError, command->server);
    }
    return fault.code ? AnswerTo(fault.code, command->server) : answer;
}

}  // namespace
}  // namespace lab

int wmain(int argc, wchar_t** argv) {
    const std::vector<std::wstring> words(argv + (argc > 0), argv + argc);
    const lab::NetshAnswer answer = lab::Execute(words);
    std::string line = "netsh";
    for (const std::wstring& word : words) {
        const bool isBare = !word.empty() && word.find_first_of(L" \t\"") == word.npos;
        line += ' ' + (isBare ? lab::Escape(std::wstring_view(word)) : lab::Quoted(word.c_str()));
    }
    lab::Journal(line + " -> " + answer.result);
    std::printf("%s\n", answer.text.c_str());
    return answer.result == "0" ? 0 : 1;
}
