#pragma once

#include "win/PrintfFormat.h"

namespace DiagTools {

/// Writes the tracing layer's own faults to "DT.LOG" in the temporary directory.
class CInternalTrace {
public:
    /// Appends one line: local time, the message truncated at 32767 characters, CR LF. Deletes the
    /// old file first if it exceeds 1024000 bytes. Ignores failures.
    static void Write(const char* format, ...) DT_PRINTF_FORMAT(1, 2);
};

}  // namespace DiagTools
