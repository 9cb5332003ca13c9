// Paths in the ANSI code page. In a double-byte code page the second byte of a character may be
// "\", so walk through these texts with CharNextA.
#pragma once

#include <windows.h>

#include <cstddef>
#include <string>

struct ModulePath {
    std::string folder;    // without its last "\"
    std::string fileName;  // with its extension
};

/// Splits the path of a module's file; null is the running program. Returns false and leaves path
/// unchanged if the system has no path, or one of more than 259 characters.
bool GetModulePath(HMODULE module, ModulePath& path);

/// Holds the longest path that GetTempPathA returns, with its terminator.
using TemporaryPath = char[MAX_PATH + 2];

/// Gets the temporary folder, with a separator at the end; ".\" on failure. Allocates nothing.
void GetTemporaryFolder(TemporaryPath& path);

/// Returns the bytes of the longest prefix of whole characters that fits in maxBytes bytes.
std::size_t WholeCharacters(const char* text, std::size_t maxBytes);
