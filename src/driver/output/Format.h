#pragma once

#include <string>

#include "win/PrintfFormat.h"

/// Fills a printf format, which is a constant: a text that came from data is always an argument.
/// Throws if the text can't be made, so that a line that lacks one of its parts is never used
/// (decision 0004).
std::string Format(const char* format, ...) DT_PRINTF_FORMAT(1, 2);
