// The environment variables and the files of the stand-ins.
#pragma once

#include <windows.h>

#include <memory>
#include <string>
#include <string_view>

namespace lab {

struct HandleClose {
    using pointer = HANDLE;
    void operator()(HANDLE handle) const noexcept { ::CloseHandle(handle); }
};
using Handle = std::unique_ptr<HANDLE, HandleClose>;

/// Returns an environment variable; empty if it is unset.
std::wstring EnvironmentText(const wchar_t* name);

/// Opens a file with the usual attributes; returns null on failure.
Handle OpenFile(const std::wstring& path, DWORD access, DWORD sharing, DWORD disposition);

/// Returns the bytes of a file without a UTF-8 byte order mark; empty if it can't be read.
std::string FileText(const std::wstring& path);

/// Writes the text at the current position. Returns false if not all of it was written.
bool WriteText(const Handle& file, std::string_view text);

/// Writes a new file and renames it over the old one, so that readers always find a complete file.
/// Returns false on failure, with GetLastError.
bool ReplaceFile(const std::wstring& path, std::string_view text);

}  // namespace lab
