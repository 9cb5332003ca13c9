// The server's state on disk, a JSON text. One process works on it at a time, the next one waits.
// The file is written when the process leaves; a killed one leaves what it found.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "lab/dhcpserver/ServerState.h"
#include "lab/journal/Environment.h"

namespace lab {

class StateFile {
public:
    /// Nothing is opened or read before the first call. A missing file is an empty server; without
    /// a path there is no server.
    explicit StateFile(std::wstring path) : m_path(std::move(path)) {}

    /// Runs one call on the state; returns RPC_S_SERVER_UNAVAILABLE, and does nothing, when there
    /// is no server. Throws std::runtime_error when the state cannot be read.
    DWORD Run(const std::function<DWORD(ServerState&)>& call);

    /// Writes the state if it has changed. Throws std::runtime_error when that fails.
    void Close();

private:
    std::wstring m_path;
    Handle m_file;  // held, so that nobody else works on it
    std::unique_ptr<ServerState> m_state;
};

}  // namespace lab
