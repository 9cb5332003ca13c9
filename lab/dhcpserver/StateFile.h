// The server's state on disk, shared by every process that works on it.
//
// <path> holds a snapshot as one JSON text, <path>.log one line for every call since then. A call
// is alone among all processes while it runs, sees what the others have stored, and has its line
// written before it is answered; writing the whole snapshot each time would make an import of many
// clients endless. The last process that leaves puts the log into the snapshot and removes it.
//
// A killed process loses no answered call, and never leaves half of one: a line without its end
// does not count, and the next one is written over it. A snapshot is written beside the old one and
// renamed over it. Against a failing machine, rather than a failing process, nothing is done.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "lab/dhcpserver/ServerState.h"
#include "lab/journal/Handle.h"

namespace lab {

class StateFile {
public:
    /// Nothing is opened or read before the first call. A missing file is an empty server.
    explicit StateFile(std::wstring path);
    ~StateFile();
    StateFile(const StateFile&) = delete;
    StateFile& operator=(const StateFile&) = delete;

    /// Runs one call on the current state and stores what it changed. Throws std::runtime_error
    /// when the state cannot be read or the change cannot be stored: it did not happen then.
    DWORD Run(const std::function<DWORD(ServerState&)>& call);

    /// Folds the log into the snapshot when no other process uses it. Also done by the destructor,
    /// which has nobody to tell of a failure.
    void Close();

    /// DHCPLAB_SERVER_STATE, or dhcpserver.json beside the DLL or program that asks.
    static std::wstring PathFromEnvironment();

private:
    void Open();
    void ReadSnapshot();
    void ReadNewLines();
    void AppendLine(const std::string& line);
    void Fold();

    std::wstring m_path;
    std::wstring m_logPath;
    FileHandle m_mutex;
    FileHandle m_log;
    LONGLONG m_logBytesRead = 0;
    std::unique_ptr<ServerState> m_state;  // none: to be read again
};

}  // namespace lab
