#include "win/AnsiPath.h"

#include <cstring>

bool GetModulePath(HMODULE module, ModulePath& path) {
    char whole[MAX_PATH] = "";
    const DWORD length = ::GetModuleFileNameA(module, whole, MAX_PATH);
    // A full buffer holds a truncated path, whose last "\" may not precede the file name.
    if (length == 0 || length >= MAX_PATH)
        return false;
    const char* folderEnd = whole;
    const char* fileName = whole;
    for (const char* at = whole; *at; at = ::CharNextA(at)) {
        if (*at == '\\') {
            folderEnd = at;
            fileName = at + 1;
        }
    }
    path.folder.assign(whole, static_cast<std::size_t>(folderEnd - whole));
    path.fileName = fileName;
    return true;
}

void GetTemporaryFolder(TemporaryPath& path) {
    const DWORD length = ::GetTempPathA(sizeof(path), path);
    if (length == 0 || length >= sizeof(path))
        std::strcpy(path, ".\\");
}

std::size_t WholeCharacters(const char* text, std::size_t maxBytes) {
    const char* end = text;
    while (*end) {
        const char* const next = ::CharNextA(end);
        if (static_cast<std::size_t>(next - text) > maxBytes)
            break;
        end = next;
    }
    return static_cast<std::size_t>(end - text);
}
