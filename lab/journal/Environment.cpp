#include "lab/journal/Environment.h"

namespace lab {

std::wstring EnvironmentText(const wchar_t* name) {
    // Not getenv: the C library of a DLL has its own copy, without a variable that a test just set.
    std::wstring text(::GetEnvironmentVariableW(name, nullptr, 0), L'\0');
    if (text.empty())
        return text;
    text.resize(::GetEnvironmentVariableW(name, text.data(), static_cast<DWORD>(text.size())));
    return text;
}

std::string FileText(const std::wstring& path) {
    const Handle file =
        OpenFile(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_EXISTING);
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

Handle OpenFile(const std::wstring& path, DWORD access, DWORD sharing, DWORD disposition) {
    Handle file(::CreateFileW(path.c_str(), access, sharing, nullptr, disposition,
                              FILE_ATTRIBUTE_NORMAL, nullptr));
    if (file.get() == INVALID_HANDLE_VALUE)
        static_cast<void>(file.release());  // not a handle
    return file;
}

bool WriteText(const Handle& file, std::string_view text) {
    DWORD written = 0;
    return ::WriteFile(file.get(), text.data(), static_cast<DWORD>(text.size()), &written,
                       nullptr) &&
           written == text.size();
}

bool ReplaceFile(const std::wstring& path, std::string_view text) {
    const std::wstring newPath = path + L".new";
    Handle file = OpenFile(newPath, GENERIC_WRITE, 0, CREATE_ALWAYS);
    const bool isWritten = file && WriteText(file, text) && ::FlushFileBuffers(file.get());
    file.reset();
    if (isWritten && ::MoveFileExW(newPath.c_str(), path.c_str(),
                                   MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH))
        return true;
    const DWORD error = ::GetLastError();
    ::DeleteFileW(newPath.c_str());
    ::SetLastError(error);
    return false;
}

}  // namespace lab
