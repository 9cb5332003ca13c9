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
    explicit MutexHold(HANDLE mutex) : mutex_(mutex) { ::WaitForSingleObject(mutex_, INFINITE); }
    ~MutexHold() { ::ReleaseMutex(mutex_); }
    MutexHold(const MutexHold&) = delete;
    MutexHold& operator=(const MutexHold&) = delete;

private:
    HANDLE mutex_;
};

FileHandle OpenMutexFor(const std::wstring& path) {
    wchar_t full[MAX_PATH * 4] = L"";
    const DWORD length = ::GetFullPathNameW(path.c_str(), MAX_PATH * 4, full, nullptr);
    uint64_t hash = 0xCBF29CE484222325;  // FNV-1a: a path cannot be an object's name
    for (DWORD i = 0; i < length; ++i) {
        hash = (hash ^ std::towlower(full[i])) * 0x100000001B3;
    }
    const std::wstring name = L"Local\\dhcplab-state-" + std::to_wstring(hash);
    FileHandle mutex(::CreateMutexW(nullptr, FALSE, name.c_str()));
    if (!mutex) {
        Fail(path, "no lock");
    }
    return mutex;
}

FileHandle OpenFile(const std::wstring& path, DWORD access, DWORD sharing, DWORD disposition) {
    return FileHandle(::CreateFileW(path.c_str(), access, sharing, nullptr, disposition,
                                    FILE_ATTRIBUTE_NORMAL, nullptr));
}

void WriteAll(HANDLE file, const std::string& text, const std::wstring& path) {
    DWORD written = 0;
    if (!::WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &written, nullptr) ||
        written != text.size()) {
        Fail(path, "cannot be written");
    }
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

StateFile::StateFile(std::wstring path) : path_(std::move(path)), logPath_(path_ + L".log") {}

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
    if (!mutex_) {
        mutex_ = OpenMutexFor(path_);
    }
    const MutexHold hold(mutex_.get());
    try {
        if (!state_) {
            Open();
        } else {
            ReadNewLines();
        }
        const DWORD code = call(*state_);
        if (!state_->Touched().empty()) {
            AppendLine(ChangeLine(*state_));
            state_->ForgetTouched();
        }
        return code;
    } catch (...) {
        state_.reset();  // what memory holds now is not what is stored
        throw;
    }
}

void StateFile::Close() {
    if (!mutex_) {
        return;
    }
    const MutexHold hold(mutex_.get());
    if (state_) {
        ReadNewLines();
        log_ = FileHandle();
        // No sharing: opens only when no other process has the log open.
        const bool isLast = !!OpenFile(logPath_, GENERIC_READ, 0, OPEN_EXISTING);
        if (isLast) {
            Fold();
        }
        state_.reset();
    }
    log_ = FileHandle();
}

void StateFile::Open() {
    log_ = FileHandle();
    logBytesRead_ = 0;
    state_ = std::make_unique<ServerState>();
    ReadSnapshot();
    log_ = OpenFile(logPath_, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                    OPEN_ALWAYS);
    if (!log_) {
        Fail(logPath_, "cannot be opened");
    }
    ReadNewLines();
}

void StateFile::ReadSnapshot() {
    if (::GetFileAttributesW(path_.c_str()) == INVALID_FILE_ATTRIBUTES) {
        return;
    }
    try {
        ApplyJson(FileText(path_), *state_);
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(ToUtf8(path_) + ": " + error.what());
    }
    state_->ForgetTouched();
}

void StateFile::ReadNewLines() {
    const LONGLONG size = SizeOf(log_.get());
    if (size == logBytesRead_) {
        return;
    }
    std::string text(static_cast<size_t>(size - logBytesRead_), '\0');
    DWORD got = 0;
    MoveTo(log_.get(), logBytesRead_);
    if (!::ReadFile(log_.get(), text.data(), static_cast<DWORD>(text.size()), &got, nullptr) ||
        got != text.size()) {
        Fail(logPath_, "cannot be read");
    }
    size_t start = 0;
    for (size_t end; (end = text.find('\n', start)) != text.npos; start = end + 1) {
        ApplyJson(std::string_view(text).substr(start, end - start), *state_);
    }
    state_->ForgetTouched();
    // Nobody is writing while this process holds the lock: the writer of half a line was killed,
    // and the next line goes over it.
    logBytesRead_ += static_cast<LONGLONG>(start);
}

void StateFile::AppendLine(const std::string& line) {
    MoveTo(log_.get(), logBytesRead_);
    WriteAll(log_.get(), line + '\n', logPath_);
    logBytesRead_ += static_cast<LONGLONG>(line.size() + 1);
}

void StateFile::Fold() {
    const bool isFirst = ::GetFileAttributesW(path_.c_str()) == INVALID_FILE_ATTRIBUTES;
    if (logBytesRead_ > 0 || isFirst) {
        const std::wstring newPath = path_ + L".new";
        FileHandle file = OpenFile(newPath, GENERIC_WRITE, 0, CREATE_ALWAYS);
        if (!file) {
            Fail(newPath, "cannot be made");
        }
        WriteAll(file.get(), SnapshotText(*state_), newPath);
        file = FileHandle();
        if (!::MoveFileExW(newPath.c_str(), path_.c_str(), MOVEFILE_REPLACE_EXISTING)) {
            Fail(path_, "cannot be replaced");
        }
    }
    // Should the process die before this, the log is read once more over a snapshot that has it
    // already, which ends in the same state.
    ::DeleteFileW(logPath_.c_str());
    logBytesRead_ = 0;
}

}  // namespace lab
