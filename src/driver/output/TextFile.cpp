#include "driver/output/TextFile.h"

#include "win/Handles.h"

std::string TextModeBytes(const std::string& text) {
    std::string bytes;
    bytes.reserve(text.size() + 8);
    for (const char c : text) {
        if (c == '\n')
            bytes += '\r';
        bytes += c;
    }
    return bytes;
}

void EmptyFile(const std::string& fileName) {
    OpenFileHandle(fileName.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                   CREATE_ALWAYS);
}

void AppendText(const std::string& fileName, const std::string& text) {
    const std::string bytes = TextModeBytes(text);
    const Handle file = OpenFileHandle(fileName.c_str(), FILE_APPEND_DATA,
                                       FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_ALWAYS);
    DWORD written = 0;
    if (file)
        ::WriteFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
}
