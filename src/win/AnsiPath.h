// Paths in the ANSI code page. In a double-byte one the second byte of a character may be the code
// of "\", so these texts are walked by characters (CharNextA).
#pragma once

#include <windows.h>

#include <cstddef>
#include <string>

struct ModulePath {
    std::string folder;    // without its last "\"
    std::string fileName;  // with its extension
};

/// Splits the path of a module's file; null is the running program. Returns false, with both texts
/// unchanged, if the system gives no path or one of more than 259 characters.
bool GetModulePath(HMODULE module, ModulePath& path);

/// The longest path that GetTempPathA gives, with its terminator.
using TemporaryPath = char[MAX_PATH + 2];

/// The temporary folder, ending in a separator; ".\" if the system gives none. Allocates nothing.
void GetTemporaryFolder(TemporaryPath& path);

/// Size in bytes of the longest beginning of a text that holds whole characters only and at most
/// `maxBytes` bytes.
std::size_t WholeCharacters(const char* text, std::size_t maxBytes);
