#include "lab/journal/Environment.h"

#include <windows.h>

#include "lab/journal/Handle.h"

namespace lab {

std::wstring EnvironmentText(const wchar_t* name) {
    // The Windows call, not getenv: the C library of a DLL keeps a copy of its own, and a test
    // that sets a variable before it loads the DLL must be seen.
    std::wstring text(::GetEnvironmentVariableW(name, nullptr, 0), L'\0');
    if (text.empty())
        return text;
    text.resize(::GetEnvironmentVariableW(name, text.data(), static_cast<DWORD>(text.size())));
    return text;
}

std::string FileText(const std::wstring& path) {
    const FileHandle file(::CreateFileW(path.c_str(), GENERIC_READ,
                                        FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                                        FILE_ATTRIBUTE_NORMAL, nullptr));
    LARGE_INTEGER size{};
    if (!file || !::GetFileSizeEx(file.get(), &size))
        return {};
    std::string text(static_cast<std::size_t>(size.QuadPart), '\0');
    DWORD got = 0;
    if (!::ReadFile(file.get(), text.data(), static_cast<DWORD>(text.size()), &got, nullptr))
        return {};
    text.resize(got);
    constexpr char kMark[] = "\xEF\xBB\xBF";
    return text.rfind(kMark, 0) == 0 ? text.substr(sizeof(kMark) - 1) : text;
}

}  // namespace lab
