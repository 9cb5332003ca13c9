#include "lab/dhcpserver/DhcpServer.h"

#include "lab/journal/Environment.h"
#include "lab/journal/FaultScript.h"
#include "lab/journal/Journal.h"

namespace lab {

DhcpServer::DhcpServer()
    : m_settings(ServerSettings::FromEnvironment()),
      m_state(EnvironmentText(L"DHCPLAB_SERVER_STATE")),
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

DWORD DhcpServer::Call(const char* function, const WCHAR* server, const std::string& arguments,
                       const Rules& rules, const Output& output) {
    const std::lock_guard<std::mutex> hold(m_lock);
    // The API would take its own machine: never what this program means.
    if (!server)
        JournalMisuse(std::string(function) + ": null server");
    const Fault fault = FaultFor(function);
    const bool runs = !fault.IsRefusal() && !(fault.isDone && output);
    const DWORD code = fault.After(runs ? Run(server, rules) : DWORD{0});
    Journal(function + std::string(" server=") +
            (server ? Escape(std::wstring_view(server)) : "null") + arguments + " -> " +
            std::to_string(code) + (runs && output ? output() : ""));
    return code;
}

DWORD DhcpServer::Run(const WCHAR* server, const Rules& rules) {
    try {
        return m_state.Run([&](ServerState& state) -> DWORD {
            if (!state.IsReachedBy(server ? server : L""))
                return RPC_S_SERVER_UNAVAILABLE;
            ServerRules serverRules(state, m_settings);
            return rules(serverRules);
        });
    } catch (const std::exception& error) {
        JournalMisuse(std::string("server state ") + Escape(error.what()));
        return kJetError;
    }
}

void DhcpServer::Free(void* block) {
    const std::lock_guard<std::mutex> hold(m_lock);
    if (block && !m_memory.Free(block))
        JournalMisuse("DhcpRpcFreeMemory: no block of this server, or freed before");
    else if (m_journalFrees)
        Journal(block ? "DhcpRpcFreeMemory block" : "DhcpRpcFreeMemory null");
}

}  // namespace lab
