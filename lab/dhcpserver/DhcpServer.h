// One process's connection with the server: what every call of the API does around its rules.
#pragma once

#include <functional>
#include <mutex>
#include <string>

#include "lab/dhcpserver/RpcMemory.h"
#include "lab/dhcpserver/ServerRules.h"
#include "lab/dhcpserver/StateFile.h"

namespace lab {

class DhcpServer {
public:
    DhcpServer();
    /// Journals the blocks that the program did not free, and leaves the state in one file.
    ~DhcpServer();
    DhcpServer(const DhcpServer&) = delete;
    DhcpServer& operator=(const DhcpServer&) = delete;

    using Rules = std::function<DWORD(ServerRules&)>;
    using Arguments = std::function<std::string()>;

    /// Answers one call: with the planned fault, or by the rules. The line that is journalled ends
    /// with the code and what `results` then tells; `arguments` begin with a blank.
    DWORD Call(const char* function, const WCHAR* server, const Arguments& arguments,
               const Rules& rules, const Arguments& results = nullptr);

    void Free(void* block);

    /// Only for use inside of a call's rules.
    RpcMemory& Memory() { return m_memory; }
    const ServerSettings& Settings() const { return m_settings; }

private:
    std::mutex m_lock;
    ServerSettings m_settings;
    StateFile m_state;
    RpcMemory m_memory;
    bool m_journalFrees;
};

}  // namespace lab
