#include "store/TextConversion.h"

#include <windows.h>

std::string NarrowText(const wchar_t* text) {
    if (!text || !*text)
        return {};
    const int chars =
        ::WideCharToMultiByte(CP_THREAD_ACP, 0, text, -1, nullptr, 0, nullptr, nullptr);
    if (chars <= 1)
        return {};
    std::string narrow(static_cast<std::size_t>(chars), '\0');
    ::WideCharToMultiByte(CP_THREAD_ACP, 0, text, -1, &narrow[0], chars, nullptr, nullptr);
    narrow.resize(static_cast<std::size_t>(chars) - 1);
    return narrow;
}

CWideText::CWideText(const std::string& text) {
    const int chars = ::MultiByteToWideChar(CP_THREAD_ACP, 0, text.c_str(), -1, nullptr, 0);
    if (chars <= 0)
        return;
    m_text = std::make_unique<wchar_t[]>(static_cast<std::size_t>(chars));
    ::MultiByteToWideChar(CP_THREAD_ACP, 0, text.c_str(), -1, m_text.get(), chars);
}
