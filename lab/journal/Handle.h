// Owner of a Win32 handle.
#pragma once

#include <windows.h>

namespace lab {

/// Closes its handle. INVALID_HANDLE_VALUE and null both count as none.
class FileHandle {
public:
    explicit FileHandle(HANDLE handle = nullptr)
        : handle_(handle == INVALID_HANDLE_VALUE ? nullptr : handle) {}
    ~FileHandle() {
        if (handle_) {
            ::CloseHandle(handle_);
        }
    }
    FileHandle(const FileHandle&) = delete;
    FileHandle& operator=(const FileHandle&) = delete;

    HANDLE get() const { return handle_; }
    explicit operator bool() const { return handle_ != nullptr; }

private:
    HANDLE handle_;
};

}  // namespace lab
