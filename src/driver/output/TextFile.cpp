#include "driver/output/TextFile.h"

#include "diagtools/Handle.h"

std::string TextModeBytes(std::string_view text) {
    std::string bytes;
    bytes.reserve(text.size() + 8);
    for (const char c : text) {
        if (c == '\n')
            bytes += '\r';
        bytes += c;
    }
    return bytes;
}

bool AppendText(const std::string& fileName, std::string_view text) {
    const HANDLE opened =
        ::CreateFileA(fileName.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE,
                      nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (opened == INVALID_HANDLE_VALUE)
        return false;
    const DiagTools::Handle file(opened);
    const std::string bytes = TextModeBytes(text);
    DWORD written = 0;
    return ::WriteFile(opened, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) &&
           written == bytes.size();
}
