#pragma once

#include <windows.h>

namespace DiagTools {

/// Writes to the Windows event log (Application). Silent if the log can't be opened.
class CEventLogWriter {
public:
    /// Events come from a source that has the module's file name without its extension. Opens
    /// nothing yet.
    static void Initialize(HMODULE module);
    /// Writes one event, whose only content is the text as it is; nothing before Initialize. The
    /// log is open during the call only. type: EVENTLOG_..._TYPE.
    static void Report(WORD type, DWORD eventId, const char* text);
};

}  // namespace DiagTools
