// Text files as the C library's text mode makes them: "\n" becomes CR LF. Others may read and write
// the files meanwhile. Failures are silent.
#pragma once

#include <string>

/// The bytes of a text.
std::string TextModeBytes(const std::string& text);

/// Creates the file or empties it.
void EmptyFile(const std::string& fileName);

/// Writes a text to the end of a file, which is created if it is missing: in a single write, so
/// that a reader never sees half of it.
void AppendText(const std::string& fileName, const std::string& text);
