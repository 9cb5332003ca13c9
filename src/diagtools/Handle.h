#pragma once

#include <windows.h>

#include <memory>

namespace DiagTools {

struct HandleClose {
    using pointer = HANDLE;
    void operator()(HANDLE handle) const noexcept { ::CloseHandle(handle); }
};

/// Owns a kernel handle; null is none. CreateFile's INVALID_HANDLE_VALUE must not get in here.
using Handle = std::unique_ptr<HANDLE, HandleClose>;

}  // namespace DiagTools
