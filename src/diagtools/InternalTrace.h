#pragma once

#include "win/PrintfFormat.h"

namespace DiagTools {

/// Writes the tracing layer's own faults to "DT.LOG" in the temporary directory.
class CInternalTrace {
public:
    /// Appends one line: local time, the message cut at 32767 characters, CR LF. The file starts
    /// anew once it exceeds 1024000 bytes. Failures are ignored: there is nobody left to tell.
    static void Write(const char* format, ...) DT_PRINTF_FORMAT(1, 2);
};

}  // namespace DiagTools
