// The server's state in a JSON file. Only one process uses it at a time; others wait. The file is
// written when the process ends; a killed process leaves it unchanged.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "lab/dhcpserver/ServerState.h"
#include "lab/journal/Environment.h"

namespace lab {

/// Reads a snapshot from a file. Returns false if the file is missing or empty. Throws
/// std::runtime_error, which names the file.
bool ReadSnapshotFile(const std::wstring& path, ServerState& state);

class StateFile {
public:
    /// Opens nothing before the first call. A missing file means an empty server, "" no server.
    explicit StateFile(std::wstring path) : m_path(std::move(path)) {}

    /// Runs one call on the state. Without a server only returns RPC_S_SERVER_UNAVAILABLE. Throws
    /// std::runtime_error if the state can't be read.
    DWORD Run(const std::function<DWORD(ServerState&)>& call);

    /// Writes the state if it has changed. Throws std::runtime_error on failure.
    void Close();

private:
    std::wstring m_path;
    Handle m_file;  // stays open to keep other processes out
    std::unique_ptr<ServerState> m_state;
};

}  // namespace lab
