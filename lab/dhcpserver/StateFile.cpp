#include "lab/dhcpserver/StateFile.h"

#include <stdexcept>

#include "lab/dhcpserver/StateJson.h"
#include "lab/journal/Environment.h"
#include "lab/journal/Text.h"

namespace lab {
namespace {

constexpr ULONGLONG kWaitMilliseconds = 20000;

[[noreturn]] void Fail(const std::wstring& path, const std::string& what) {
    throw std::runtime_error(ToUtf8(path) + ": " + what + ", error " +
                             std::to_string(::GetLastError()));
}

/// Opens the file so that no other process can write to it; waits while another one has it.
Handle OpenAlone(const std::wstring& path) {
    const ULONGLONG start = ::GetTickCount64();
    for (;;) {
        Handle file = OpenFile(path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, OPEN_ALWAYS);
        if (file)
            return file;
        if (::GetLastError() != ERROR_SHARING_VIOLATION ||
            ::GetTickCount64() - start > kWaitMilliseconds)
            Fail(path, "cannot be opened");
        ::Sleep(10);
    }
}

}  // namespace

bool ReadSnapshotFile(const std::wstring& path, ServerState& state) {
    const std::string text = FileText(path);
    try {
        if (!text.empty())
            ReadSnapshot(text, state);
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(ToUtf8(path) + ": " + error.what());
    }
    return !text.empty();
}

DWORD StateFile::Run(const std::function<DWORD(ServerState&)>& call) {
    if (m_path.empty())
        return RPC_S_SERVER_UNAVAILABLE;
    if (m_state)
        return call(*m_state);
    Handle file = OpenAlone(m_path);
    auto state = std::make_unique<ServerState>();
    state->isChanged = !ReadSnapshotFile(m_path, *state);  // write the file in any case
    m_state = std::move(state);
    m_file = std::move(file);
    return call(*m_state);
}

void StateFile::Close() {
    m_file.reset();
    if (m_state && m_state->isChanged && !ReplaceFile(m_path, SnapshotText(*m_state)))
        Fail(m_path, "cannot be replaced");
    m_state.reset();
}

}  // namespace lab
