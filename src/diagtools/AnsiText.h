// Narrow text in the system's ANSI code page. In a double-byte one the second byte of a character
// may be the code of "\", and cutting between both bytes leaves a text that ends in garbage.
#pragma once

#include <cstddef>

namespace DiagTools {

/// The start of the next character; the text has one.
const char* NextCharacter(const char* text);

/// Size in bytes of the longest beginning of the text that holds whole characters only and at most
/// `maxBytes`.
std::size_t WholeCharacters(const char* text, std::size_t maxBytes);

}  // namespace DiagTools
