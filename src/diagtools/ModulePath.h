#pragma once

#include <windows.h>

#include <string>

namespace DiagTools {

/// Where a module's file lies, in the ANSI code page.
struct ModulePath {
    std::string folder;    // without its last "\"
    std::string fileName;  // with its extension
};

/// Null is the running program. False, with both texts untouched, when the system gives no path or
/// one of more than 259 characters.
bool GetModulePath(HMODULE module, ModulePath& path);

}  // namespace DiagTools
