#include "lab/dhcpserver/StateFile.h"

#include <cwctype>
#include <stdexcept>

#include "lab/dhcpserver/AddressText.h"
#include "lab/dhcpserver/StateJson.h"
#include "lab/journal/Environment.h"

namespace lab {
namespace {

[[noreturn]] void Fail(const std::wstring& path, const std::string& what) {
    throw std::runtime_error(ToUtf8(path) + ": " + what + ", error " +
                             std::to_string(::GetLastError()));
}

/// Owns a mutex that this thread holds. One abandoned by a killed process is as good: the state
/// on disk is whole at every moment.
class MutexHold {
public:
    explicit MutexHold(HANDLE mutex) : m_mutex(mutex) { ::WaitForSingleObject(m_mutex, INFINITE); }
    ~MutexHold() { ::ReleaseMutex(m_mutex); }
    MutexHold(const MutexHold&) = delete;
    MutexHold& operator=(const MutexHold&) = delete;

private:
    HANDLE m_mutex;
};

FileHandle OpenMutexFor(const std::wstring& path) {
    wchar_t full[MAX_PATH * 4] = L"";
    const DWORD length = ::GetFullPathNameW(path.c_str(), MAX_PATH * 4, full, nullptr);
    std::uint64_t hash = 0xCBF29CE484222325;  // FNV-1a: a path cannot be an object's name
    for (DWORD i = 0; i < length; ++i)
        hash = (hash ^ std::towlower(full[i])) * 0x100000001B3;
    const std::wstring name = L"Local\\dhcplab-state-" + std::to_wstring(hash);
    FileHandle mutex(::CreateMutexW(nullptr, FALSE, name.c_str()));
    if (!mutex)
        Fail(path, "no lock");
    return mutex;
}

FileHandle OpenFile(const std::wstring& path, DWORD access, DWORD sharing, DWORD disposition) {
    return FileHandle(::CreateFileW(path.c_str(), access, sharing, nullptr, disposition,
                                    FILE_ATTRIBUTE_NORMAL, nullptr));
}

void WriteAll(HANDLE file, const std::string& text, const std::wstring& path) {
    DWORD written = 0;
    if (!::WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &written, nullptr) ||
        written != text.size())
        Fail(path, "cannot be written");
}

LONGLONG SizeOf(HANDLE file) {
    LARGE_INTEGER size{};
    ::GetFileSizeEx(file, &size);
    return size.QuadPart;
}

void MoveTo(HANDLE file, LONGLONG position) {
    LARGE_INTEGER distance;
    distance.QuadPart = position;
    ::SetFilePointerEx(file, distance, nullptr, FILE_BEGIN);
}

}  // namespace

StateFile::StateFile(std::wstring path) : m_path(std::move(path)), m_logPath(m_path + L".log") {}

StateFile::~StateFile() {
    try {
        Close();
    } catch (const std::exception&) {
        // The log stays, and with it everything that was answered.
    }
}

std::wstring StateFile::PathFromEnvironment() {
    std::wstring path = EnvironmentText(L"DHCPLAB_SERVER_STATE");
    if (path.empty()) {
        static const int anchor = 0;
        HMODULE module = nullptr;
        ::GetModuleHandleExW(
            GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
            reinterpret_cast<const wchar_t*>(&anchor), &module);
        wchar_t name[MAX_PATH * 4] = L"";
        ::GetModuleFileNameW(module, name, MAX_PATH * 4);
        path = name;
        path.resize(path.find_last_of(L"\\/") + 1);
        path += L"dhcpserver.json";
    }
    return path;
}

DWORD StateFile::Run(const std::function<DWORD(ServerState&)>& call) {
    if (!m_mutex)
        m_mutex = OpenMutexFor(m_path);
    const MutexHold hold(m_mutex.get());
    try {
        if (!m_state)
            Open();
        else
            ReadNewLines();
        const DWORD code = call(*m_state);
        if (!m_state->Touched().empty()) {
            AppendLine(ChangeLine(*m_state));
            m_state->ForgetTouched();
        }
        return code;
    } catch (...) {
        m_state.reset();  // what memory holds now is not what is stored
        throw;
    }
}

void StateFile::Close() {
    if (!m_mutex)
        return;
    const MutexHold hold(m_mutex.get());
    if (m_state) {
        ReadNewLines();
        m_log = FileHandle();
        // No sharing: opens only when no other process has the log open.
        const bool isLast = !!OpenFile(m_logPath, GENERIC_READ, 0, OPEN_EXISTING);
        if (isLast)
            Fold();
        m_state.reset();
    }
    m_log = FileHandle();
}

void StateFile::Open() {
    m_log = FileHandle();
    m_logBytesRead = 0;
    m_state = std::make_unique<ServerState>();
    ReadSnapshot();
    m_log = OpenFile(m_logPath, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                     OPEN_ALWAYS);
    if (!m_log)
        Fail(m_logPath, "cannot be opened");
    ReadNewLines();
}

void StateFile::ReadSnapshot() {
    if (::GetFileAttributesW(m_path.c_str()) == INVALID_FILE_ATTRIBUTES)
        return;
    try {
        ApplyJson(FileText(m_path), *m_state);
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(ToUtf8(m_path) + ": " + error.what());
    }
    m_state->ForgetTouched();
}

void StateFile::ReadNewLines() {
    const LONGLONG size = SizeOf(m_log.get());
    if (size == m_logBytesRead)
        return;
    std::string text(static_cast<std::size_t>(size - m_logBytesRead), '\0');
    DWORD got = 0;
    MoveTo(m_log.get(), m_logBytesRead);
    if (!::ReadFile(m_log.get(), text.data(), static_cast<DWORD>(text.size()), &got, nullptr) ||
        got != text.size())
        Fail(m_logPath, "cannot be read");
    std::size_t start = 0;
    for (std::size_t end; (end = text.find('\n', start)) != text.npos; start = end + 1)
        ApplyJson(std::string_view(text).substr(start, end - start), *m_state);
    m_state->ForgetTouched();
    // Nobody is writing while this process holds the lock: the writer of half a line was killed,
    // and the next line goes over it.
    m_logBytesRead += static_cast<LONGLONG>(start);
}

void StateFile::AppendLine(const std::string& line) {
    MoveTo(m_log.get(), m_logBytesRead);
    WriteAll(m_log.get(), line + '\n', m_logPath);
    m_logBytesRead += static_cast<LONGLONG>(line.size() + 1);
}

void StateFile::Fold() {
    const bool isFirst = ::GetFileAttributesW(m_path.c_str()) == INVALID_FILE_ATTRIBUTES;
    if (m_logBytesRead > 0 || isFirst) {
        const std::wstring newPath = m_path + L".new";
        FileHandle file = OpenFile(newPath, GENERIC_WRITE, 0, CREATE_ALWAYS);
        if (!file)
            Fail(newPath, "cannot be made");
        WriteAll(file.get(), SnapshotText(*m_state), newPath);
        file = FileHandle();
        if (!::MoveFileExW(newPath.c_str(), m_path.c_str(), MOVEFILE_REPLACE_EXISTING))
            Fail(m_path, "cannot be replaced");
    }
    // Should the process die before this, the log is read once more over a snapshot that has it
    // already, which ends in the same state.
    ::DeleteFileW(m_logPath.c_str());
    m_logBytesRead = 0;
}

}  // namespace lab
