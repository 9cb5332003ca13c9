#include "win/TextConversion.h"

#include <windows.h>

#include <cwchar>
#include <system_error>

namespace {

/// The maximum for all ANSI code pages, UTF-8 included.
constexpr std::size_t kMaxBytesPerUnit = 4;

/// Returns the size of a converted text without its terminator. Throws if the conversion failed.
std::size_t CheckedLength(int size, const char* call) {
    if (size <= 0)
        throw std::system_error(static_cast<int>(::GetLastError()), std::system_category(), call);
    return static_cast<std::size_t>(size) - 1;
}

}  // namespace

std::string NarrowText(const wchar_t* text) {
    if (!text || !*text)
        return {};
    std::string narrow(std::wcslen(text) * kMaxBytesPerUnit + 1, '\0');
    const int size = ::WideCharToMultiByte(CP_THREAD_ACP, 0, text, -1, narrow.data(),
                                           static_cast<int>(narrow.size()), nullptr, nullptr);
    narrow.resize(CheckedLength(size, "WideCharToMultiByte"));
    return narrow;
}

std::wstring WideText(const std::string& text) {
    // No character has more UTF-16 units than bytes.
    std::wstring wide(text.size() + 1, L'\0');
    const int size = ::MultiByteToWideChar(CP_THREAD_ACP, 0, text.c_str(), -1, wide.data(),
                                           static_cast<int>(wide.size()));
    wide.resize(CheckedLength(size, "MultiByteToWideChar"));
    return wide;
}
