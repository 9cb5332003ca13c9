#include "lab/dhcpserver/DhcpServer.h"

#include "lab/dhcpserver/CallText.h"
#include "lab/journal/Environment.h"
#include "lab/journal/FaultScript.h"
#include "lab/journal/Journal.h"

namespace lab {
namespace {

ServerSettings ReadSettings() {
    std::vector<std::string> errors;
    ServerSettings settings = ServerSettings::FromEnvironment(errors);
    for (const std::string& error : errors) {
        JournalMisuse(error);
    }
    return settings;
}

}  // namespace

DhcpServer::DhcpServer()
    : settings_(ReadSettings()),
      state_(StateFile::PathFromEnvironment()),
      journalFrees_(EnvironmentText(L"DHCPLAB_JOURNAL_FREES") != L"0") {}

DhcpServer::~DhcpServer() {
    if (memory_.LiveBlocks() > 0) {
        JournalMisuse("blocks not freed: " + std::to_string(memory_.LiveBlocks()));
    }
    try {
        state_.Close();
    } catch (const std::exception& error) {
        JournalMisuse(std::string("server state ") + Escape(error.what()));
    }
}

DWORD DhcpServer::Call(const char* function, const WCHAR* server, const Arguments& arguments,
                       const Rules& rules, const Arguments& results) {
    const std::lock_guard<std::mutex> hold(lock_);
    if (!server) {
        // The API would take its own machine: never what this program means.
        JournalMisuse(std::string(function) + ": null server");
    }
    DWORD code = ERROR_SUCCESS;
    if (const auto fault = FaultFor(function)) {
        code = *fault;
    } else {
        try {
            code = state_.Run([&](ServerState& state) {
                ServerRules serverRules(state, settings_);
                return rules(serverRules);
            });
        } catch (const std::exception& error) {
            JournalMisuse(std::string("server state ") + Escape(error.what()));
            code = kJetError;
        }
    }
    if (JournalIsOn()) {
        Journal(function + ServerText(server) + arguments() + " -> " + std::to_string(code) +
                (results ? results() : ""));
    }
    return code;
}

void DhcpServer::Free(void* block) {
    const std::lock_guard<std::mutex> hold(lock_);
    if (block && !memory_.Free(block)) {
        JournalMisuse("DhcpRpcFreeMemory: no block of this server, or freed before");
    } else if (journalFrees_) {
        Journal(block ? "DhcpRpcFreeMemory block" : "DhcpRpcFreeMemory null");
    }
}

}  // namespace lab
