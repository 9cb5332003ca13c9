// Texts that cross COM or the DHCP API: narrow ones are in the thread's ANSI code page. A text that
// the system can't convert throws std::system_error. An empty text in its place would be dangerous:
// as a server name it means the local machine.
#pragma once

#include <string>

/// Narrow copy of a UTF-16 text. Null gives an empty text; a character that the code page lacks
/// becomes its default character.
std::string NarrowText(const wchar_t* text);

/// UTF-16 copy of a narrow text.
std::wstring WideText(const std::string& text);
