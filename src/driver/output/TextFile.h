// Text files as the C library's text mode makes them: "\n" becomes CR LF.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>

/// The bytes of a text.
std::string TextModeBytes(std::string_view text);

/// Writes a text to the end of a file in a single write, so that a reader never sees half of it.
/// The file is made when it is missing; others may read and write it meanwhile. False when it can't
/// be opened or written.
bool AppendText(const std::string& fileName, std::string_view text);
