#pragma once

#include <windows.h>

#include <cstddef>

/// KEY_READ | KEY_WRITE, the access with which the gateway's own keys are opened.
inline constexpr REGSAM kRegReadWrite = 0x2001F;

/// True if registry data is a terminated text, possibly empty: REG_SZ and REG_EXPAND_SZ end with
/// one NUL, REG_MULTI_SZ with two. bytes: the returned size; any NUL behind it does not count.
inline bool IsTerminatedText(DWORD type, const char* data, DWORD bytes) {
    if (type == REG_MULTI_SZ)
        return bytes >= 2 && data[bytes - 1] == '\0' && data[bytes - 2] == '\0';
    return (type == REG_SZ || type == REG_EXPAND_SZ) && bytes >= 1 && data[bytes - 1] == '\0';
}

/// Reads a text value and its type. Returns false if the value is missing, larger than the buffer,
/// of another type or unterminated.
template <std::size_t N>
bool ReadRegistryText(HKEY key, const char* valueName, char (&buffer)[N], DWORD& type) {
    DWORD bytes = static_cast<DWORD>(N);
    return ::RegQueryValueExA(key, valueName, nullptr, &type, reinterpret_cast<BYTE*>(buffer),
                              &bytes) == ERROR_SUCCESS &&
           IsTerminatedText(type, buffer, bytes);
}
