// Host names as the clean-up of reservations compares them.
#pragma once

#include <string>

/// The name up to its first ".".
std::string FirstLabel(const std::string& hostName);

/// The same text for names that differ only in the case of single-byte letters. By characters of
/// the thread's ANSI code page: the second byte of a double-byte one may look like a letter.
std::string CaselessName(const std::string& name);
