#include "diagtools/InternalTrace.h"

#include <windows.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "win/AnsiPath.h"
#include "win/Handles.h"

namespace DiagTools {
namespace {

constexpr std::size_t kMessageChars = 32768;
constexpr std::size_t kTimeChars = 64;
constexpr LONGLONG kMaxFileBytes = 1024000;

/// Opens the file unshared. Returns null for a symbolic or hard link: a link planted in the
/// temporary folder must not make an elevated run write to another file.
Handle OpenUnshared(const char* path, DWORD disposition) {
    Handle file = OpenFileHandle(path, GENERIC_READ | GENERIC_WRITE, 0, disposition,
                                 FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT);
    BY_HANDLE_FILE_INFORMATION info;
    if (!file || !::GetFileInformationByHandle(file.get(), &info) || info.nNumberOfLinks > 1 ||
        (info.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0)
        return nullptr;
    return file;
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

    TemporaryPath folder;
    GetTemporaryFolder(folder);
    const char last = folder[std::strlen(folder) - 1];
    char path[sizeof(folder) + sizeof("\\DT.LOG")];
    std::strcpy(path, folder);
    std::strcat(path, last == '\\' || last == '/' ? "DT.LOG" : "\\DT.LOG");
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
