// Host names as the clean-up of reservations compares them.
#pragma once

#include <string>

/// Returns the name up to its first ".".
std::string FirstLabel(const std::string& hostName);

/// Returns the name with single-byte letters in upper case. Steps by characters of the thread's
/// ANSI code page, because the second byte of a double-byte character may look like a letter.
std::string CaselessName(const std::string& name);
