#include "diagtools/ModulePath.h"

#include "diagtools/AnsiText.h"

namespace DiagTools {

bool GetModulePath(HMODULE module, ModulePath& path) {
    char whole[MAX_PATH] = "";
    const DWORD length = ::GetModuleFileNameA(module, whole, MAX_PATH);
    // A full buffer holds a path that was cut: its last "\" is that of some other folder.
    if (length == 0 || length >= MAX_PATH)
        return false;
    const char* folderEnd = whole;
    const char* fileName = whole;
    for (const char* at = whole; *at; at = NextCharacter(at)) {
        if (*at == '\\') {
            folderEnd = at;
            fileName = at + 1;
        }
    }
    path.folder.assign(whole, static_cast<std::size_t>(folderEnd - whole));
    path.fileName = fileName;
    return true;
}

}  // namespace DiagTools
