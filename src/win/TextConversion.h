// Conversion of texts for COM and the DHCP API. Narrow texts are in the thread's ANSI code page. A
// failed conversion throws std::system_error. An empty string would be dangerous: as a server name
// it means the local machine.
#pragma once

#include <string>

/// Converts UTF-16 to narrow text; null becomes an empty text. A character that the code page lacks
/// becomes the default character of the code page.
std::string NarrowText(const wchar_t* text);

/// Converts narrow text to UTF-16.
std::wstring WideText(const std::string& text);
