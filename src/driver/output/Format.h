#pragma once

#include <string>

#include "win/PrintfFormat.h"

/// Formats like printf. The format must be a constant; data may only be an argument. Throws on
/// failure, so that a line with a missing part is never used (decision 0004).
std::string Format(const char* format, ...) DT_PRINTF_FORMAT(1, 2);
