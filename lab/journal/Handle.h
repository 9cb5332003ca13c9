// Owner of a Win32 handle.
#pragma once

#include <windows.h>

#include <utility>

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
    FileHandle(FileHandle&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
    FileHandle& operator=(FileHandle&& other) noexcept {
        std::swap(handle_, other.handle_);  // the other one closes what was held here
        return *this;
    }

    HANDLE get() const { return handle_; }
    explicit operator bool() const { return handle_ != nullptr; }

private:
    HANDLE handle_;
};

}  // namespace lab
