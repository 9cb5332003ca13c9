// Owner of a Win32 handle.
#pragma once

#include <windows.h>

#include <utility>

namespace lab {

/// Closes its handle. INVALID_HANDLE_VALUE and null both count as none.
class FileHandle {
public:
    explicit FileHandle(HANDLE handle = nullptr)
        : m_handle(handle == INVALID_HANDLE_VALUE ? nullptr : handle) {}
    ~FileHandle() {
        if (m_handle)
            ::CloseHandle(m_handle);
    }
    FileHandle(FileHandle&& other) noexcept : m_handle(std::exchange(other.m_handle, nullptr)) {}
    FileHandle& operator=(FileHandle&& other) noexcept {
        std::swap(m_handle, other.m_handle);  // the other one closes what was held here
        return *this;
    }

    HANDLE get() const { return m_handle; }
    explicit operator bool() const { return m_handle != nullptr; }

private:
    HANDLE m_handle;
};

}  // namespace lab
