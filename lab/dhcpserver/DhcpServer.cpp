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
    for (const std::string& error : errors)
        JournalMisuse(error);
    return settings;
}

}  // namespace

DhcpServer::DhcpServer()
    : m_settings(ReadSettings()),
      m_state(StateFile::PathFromEnvironment()),
      m_journalFrees(EnvironmentText(L"DHCPLAB_JOURNAL_FREES") != L"0") {}

DhcpServer::~DhcpServer() {
    if (m_memory.LiveBlocks() > 0)
        JournalMisuse("blocks not freed: " + std::to_string(m_memory.LiveBlocks()));
    try {
        m_state.Close();
    } catch (const std::exception& error) {
        JournalMisuse(std::string("server state ") + Escape(error.what()));
    }
}

DWORD DhcpServer::Call(const char* function, const WCHAR* server, const Arguments& arguments,
                       const Rules& rules, const Arguments& results) {
    const std::lock_guard<std::mutex> hold(m_lock);
    if (!server) {
        // The API would take its own machine: never what this program means.
        JournalMisuse(std::string(function) + ": null server");
    }
    DWORD code = ERROR_SUCCESS;
    if (const auto fault = FaultFor(function)) {
        code = *fault;
    } else {
        try {
            code = m_state.Run([&](ServerState& state) {
                ServerRules serverRules(state, m_settings);
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
    const std::lock_guard<std::mutex> hold(m_lock);
    if (block && !m_memory.Free(block))
        JournalMisuse("DhcpRpcFreeMemory: no block of this server, or freed before");
    else if (m_journalFrees)
        Journal(block ? "DhcpRpcFreeMemory block" : "DhcpRpcFreeMemory null");
}

}  // namespace lab
