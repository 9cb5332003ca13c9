#pragma once

#include <windows.h>

namespace DiagTools {

/// Writes to the Windows event log (Application). Silent if the log can't be opened.
class CEventLogWriter {
public:
    /// Sets the event source: the module's file name without extension. Opens nothing yet.
    static void Initialize(HMODULE module);
    /// Writes one event that consists of this text; does nothing before Initialize. Opens the log
    /// only for this call. type: EVENTLOG_..._TYPE.
    static void Report(WORD type, DWORD eventId, const char* text);
};

}  // namespace DiagTools
