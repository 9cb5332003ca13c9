#pragma once

#include <windows.h>

#include <cstddef>

/// KEY_READ | KEY_WRITE: the access that the gateway's own keys are opened with.
inline constexpr REGSAM kRegReadWrite = 0x2001F;

/// True if data as the registry returned it is a text, possibly empty, that ends with its
/// terminator: one NUL for REG_SZ and REG_EXPAND_SZ, two for REG_MULTI_SZ. The returned size alone
/// decides: a NUL that happens to follow in the buffer is not part of the value.
inline bool IsTerminatedText(DWORD type, const char* data, DWORD bytes) {
    if (type == REG_MULTI_SZ)
        return bytes >= 2 && data[bytes - 1] == '\0' && data[bytes - 2] == '\0';
    return (type == REG_SZ || type == REG_EXPAND_SZ) && bytes >= 1 && data[bytes - 1] == '\0';
}

/// Reads a text value into the buffer. False if it is missing, larger than the buffer, of another
/// type or unterminated. `type` is the value's type.
template <std::size_t N>
bool ReadRegistryText(HKEY key, const char* valueName, char (&buffer)[N], DWORD& type) {
    DWORD bytes = static_cast<DWORD>(N);
    return ::RegQueryValueExA(key, valueName, nullptr, &type, reinterpret_cast<BYTE*>(buffer),
                              &bytes) == ERROR_SUCCESS &&
           IsTerminatedText(type, buffer, bytes);
}
