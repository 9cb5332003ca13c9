// Writes text files like the C library's text mode: "\n" becomes CR LF. Other programs may read and
// write the files meanwhile. Failures are silent.
#pragma once

#include <string>

/// Returns the text with a CR before each LF.
std::string TextModeBytes(const std::string& text);

/// Creates the file or empties it.
void EmptyFile(const std::string& fileName);

/// Appends the text in one write, so that no reader sees half of it. Creates a missing file.
void AppendText(const std::string& fileName, const std::string& text);
