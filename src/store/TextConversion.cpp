#include "store/TextConversion.h"

#include <windows.h>

#include <system_error>

namespace {

/// The size that the system gave for a converted text, its terminator included.
std::size_t CheckedSize(int chars, const char* call) {
    if (chars <= 0)
        throw std::system_error(static_cast<int>(::GetLastError()), std::system_category(), call);
    return static_cast<std::size_t>(chars);
}

int Narrow(const wchar_t* text, char* narrow, int chars) {
    return ::WideCharToMultiByte(CP_THREAD_ACP, 0, text, -1, narrow, chars, nullptr, nullptr);
}

int Widen(const std::string& text, wchar_t* wide, int chars) {
    return ::MultiByteToWideChar(CP_THREAD_ACP, 0, text.c_str(), -1, wide, chars);
}

}  // namespace

std::string NarrowText(const wchar_t* text) {
    if (!text || !*text)
        return {};
    const int chars = Narrow(text, nullptr, 0);
    std::string narrow(CheckedSize(chars, "WideCharToMultiByte"), '\0');
    narrow.resize(CheckedSize(Narrow(text, &narrow[0], chars), "WideCharToMultiByte") - 1);
    return narrow;
}

CWideText::CWideText(const std::string& text) {
    const int chars = Widen(text, nullptr, 0);
    m_text = std::make_unique<wchar_t[]>(CheckedSize(chars, "MultiByteToWideChar"));
    CheckedSize(Widen(text, m_text.get(), chars), "MultiByteToWideChar");
}
