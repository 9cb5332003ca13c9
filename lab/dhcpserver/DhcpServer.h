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
    using Output = std::function<std::string()>;

    /// Answers one call by the rules, or with the planned fault: the rules then run only for one
    /// that is planned as done, and never for a call with output, which a lost answer does not
    /// bring. The journal's line has `arguments`, which begin with a blank, the code, and what
    /// `output` tells after the rules ran.
    DWORD Call(const char* function, const WCHAR* server, const std::string& arguments,
               const Rules& rules, const Output& output = nullptr);

    void Free(void* block);

    /// Only for use inside of a call's rules.
    RpcMemory& Memory() { return m_memory; }

private:
    DWORD Run(const WCHAR* server, const Rules& rules);

    std::mutex m_lock;
    ServerSettings m_settings;
    StateFile m_state;
    RpcMemory m_memory;
    bool m_journalFrees;
};

}  // namespace lab
