#pragma once

#include <windows.h>

#include <string>

namespace DiagTools {

/// Writes to the Windows event log (Application). Silent where the log can't be opened.
class CEventLogWriter {
public:
    /// Events come from the source of this name; null means the module's file name without its
    /// extension. Opens nothing yet.
    static void Initialize(HMODULE module, const char* sourceName);
    /// Empty before Initialize; then nothing is written.
    static const std::string& SourceName();
    /// One event, whose only content is the text as it is, cut at what the log takes. The log is
    /// open during the call only. type: EVENTLOG_..._TYPE.
    static void Report(WORD type, DWORD eventId, const char* text);
};

}  // namespace DiagTools
