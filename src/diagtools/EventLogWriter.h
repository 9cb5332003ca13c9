#pragma once

#include <windows.h>

namespace DiagTools {

/// Writes to the Windows event log.
class CEventLogWriter {
public:
    /// A null source name means the module's own name.
    static void Initialize(HMODULE module, const char* sourceName);
};

}  // namespace DiagTools
