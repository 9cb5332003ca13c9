#include "diagtools/InternalTrace.h"

#include <windows.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "diagtools/Handle.h"

namespace DiagTools {
namespace {

constexpr std::size_t kMessageChars = 32768;
constexpr std::size_t kTimeChars = 64;
constexpr LONGLONG kMaxFileBytes = 1024000;

/// Opens the file unshared and as itself: a link planted in the temporary directory under our name
/// must not make an elevated run append to a file of the planter's choice.
Handle OpenUnshared(const char* path, DWORD disposition) {
    const HANDLE handle =
        ::CreateFileA(path, GENERIC_READ | GENERIC_WRITE, 0, nullptr, disposition,
                      FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
    if (handle == INVALID_HANDLE_VALUE)
        return nullptr;
    Handle file(handle);
    BY_HANDLE_FILE_INFORMATION info;
    if (!::GetFileInformationByHandle(handle, &info) || info.nNumberOfLinks > 1 ||
        (info.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0)
        return nullptr;
    return file;
}

void LogPath(char (&path)[MAX_PATH + 16]) {
    const DWORD length = ::GetTempPathA(MAX_PATH, path);
    if (length == 0 || length > MAX_PATH)
        std::strcpy(path, ".\\");
    const std::size_t end = std::strlen(path);
    const char last = end > 0 ? path[end - 1] : '\0';
    std::strcat(path, last == '\\' || last == '/' ? "DT.LOG" : "\\DT.LOG");
}

}  // namespace

void CInternalTrace::Write(const char* format, ...) {
    char line[kTimeChars + kMessageChars + 2];
    SYSTEMTIME now;
    ::GetLocalTime(&now);
    const int timeChars =
        std::snprintf(line, kTimeChars, "%u/%u/%u %u:%02u:%02u:%03u : ", now.wYear, now.wMonth,
                      now.wDay, now.wHour, now.wMinute, now.wSecond, now.wMilliseconds);
    char* const message = line + timeChars;
    va_list arguments;
    va_start(arguments, format);
    if (std::vsnprintf(message, kMessageChars, format, arguments) < 0)
        message[0] = '\0';
    va_end(arguments);
    std::strcat(message, "\r\n");

    char path[MAX_PATH + 16];
    LogPath(path);
    Handle file = OpenUnshared(path, OPEN_ALWAYS);
    LARGE_INTEGER size;
    if (file && ::GetFileSizeEx(file.get(), &size) && size.QuadPart > kMaxFileBytes) {
        file.reset();
        ::DeleteFileA(path);
        file = OpenUnshared(path, CREATE_NEW);
    }
    if (!file)
        return;
    ::SetFilePointer(file.get(), 0, nullptr, FILE_END);
    DWORD written = 0;
    ::WriteFile(file.get(), line, static_cast<DWORD>(std::strlen(line)), &written, nullptr);
}

}  // namespace DiagTools
