// Narrow text in a code page, as a rule the system's ANSI one. In a double-byte one the second byte
// of a character may be the code of "\", and cutting between both bytes leaves a text that ends in
// garbage.
#pragma once

#include <windows.h>

#include <cstddef>

namespace DiagTools {

/// The start of the next character; the text has one.
const char* NextCharacter(const char* text, UINT codePage = CP_ACP);

/// Size in bytes of the longest beginning of the text that holds whole characters only and at most
/// `maxBytes`.
std::size_t WholeCharacters(const char* text, std::size_t maxBytes, UINT codePage = CP_ACP);

}  // namespace DiagTools
