// Owners of handles. Null means no handle.
#pragma once

#include <windows.h>

#include <memory>

struct HandleClose {
    using pointer = HANDLE;
    void operator()(HANDLE handle) const noexcept { ::CloseHandle(handle); }
};
using Handle = std::unique_ptr<HANDLE, HandleClose>;

struct RegKeyClose {
    using pointer = HKEY;
    void operator()(HKEY key) const noexcept { ::RegCloseKey(key); }
};
using RegKey = std::unique_ptr<HKEY, RegKeyClose>;

/// Calls CreateFileA. Returns null on failure; GetLastError has the code.
inline Handle OpenFileHandle(const char* path, DWORD access, DWORD share, DWORD disposition,
                             DWORD flags = FILE_ATTRIBUTE_NORMAL) {
    const HANDLE file = ::CreateFileA(path, access, share, nullptr, disposition, flags, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return nullptr;
    return Handle(file);
}
