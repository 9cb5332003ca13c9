#include "store/TextConversion.h"

#include <windows.h>

#include <cwchar>
#include <system_error>

namespace {

/// No ANSI code page, UTF-8 included, has more bytes for a UTF-16 unit.
constexpr std::size_t kMaxBytesPerUnit = 4;

/// What the system gave for the size of a converted text, its terminator included.
std::size_t CheckedSize(int size, const char* call) {
    if (size <= 0)
        throw std::system_error(static_cast<int>(::GetLastError()), std::system_category(), call);
    return static_cast<std::size_t>(size);
}

}  // namespace

std::string NarrowText(const wchar_t* text) {
    if (!text || !*text)
        return {};
    std::string narrow(std::wcslen(text) * kMaxBytesPerUnit + 1, '\0');
    const int size = ::WideCharToMultiByte(CP_THREAD_ACP, 0, text, -1, &narrow[0],
                                           static_cast<int>(narrow.size()), nullptr, nullptr);
    narrow.resize(CheckedSize(size, "WideCharToMultiByte") - 1);
    return narrow;
}

CWideText::CWideText(const std::string& text)
    : m_text(std::make_unique<wchar_t[]>(text.size() + 1)) {
    // No character has more UTF-16 units than bytes.
    CheckedSize(::MultiByteToWideChar(CP_THREAD_ACP, 0, text.c_str(), -1, m_text.get(),
                                      static_cast<int>(text.size() + 1)),
                "MultiByteToWideChar");
}
