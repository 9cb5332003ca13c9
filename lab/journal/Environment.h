// What the stand-ins have from outside: settings, which are environment variables, and files.
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
/// Owns a handle; null is none.
using Handle = std::unique_ptr<HANDLE, HandleClose>;

/// The value of an environment variable; empty when it is unset.
std::wstring EnvironmentText(const wchar_t* name);

/// CreateFile with the usual attributes; null when it fails.
Handle OpenFile(const std::wstring& path, DWORD access, DWORD sharing, DWORD disposition);

/// The bytes of a whole file, without a UTF-8 mark; empty when it cannot be read.
std::string FileText(const std::wstring& path);

/// Writes all of the text at the file's position.
bool WriteText(const Handle& file, std::string_view text);

/// Puts a new file with this text, complete on the disk, in the place of the old one: at any moment
/// there is the one or the other. False with GetLastError.
bool ReplaceFile(const std::wstring& path, std::string_view text);

}  // namespace lab
