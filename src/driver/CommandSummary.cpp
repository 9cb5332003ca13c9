#include "driver/CommandSummary.h"

#include <cstdio>

#include "diagtools/EventLogWriter.h"

namespace {

constexpr DWORD kCommandEventId = 1;

}  // namespace

CCommandSummary::~CCommandSummary() {
    try {
        Report();
    } catch (const std::exception&) {
        // Without memory for an event the log does without it.
    }
}

void CCommandSummary::Report() const {
    const unsigned long errors = DiagTools::CModuleStatistics::ErrorLines() - m_errorsBefore;
    const bool thrown = std::uncaught_exceptions() > m_exceptionsBefore;
    if (!m_changes && errors == 0 && !thrown)
        return;
    char text[256];
    if (thrown)
        std::snprintf(text, sizeof(text),
                      "Command [%s] ended by an exception, error lines traced [%lu].", m_command,
                      errors);
    else if (m_executed)
        std::snprintf(text, sizeof(text), "Command [%s] executed, error lines traced [%lu].",
                      m_command, errors);
    else
        std::snprintf(text, sizeof(text), "Command [%s] not executed.", m_command);
    const bool clean = m_executed && errors == 0 && !thrown;
    DiagTools::CEventLogWriter::Report(clean ? EVENTLOG_INFORMATION_TYPE : EVENTLOG_WARNING_TYPE,
                                       kCommandEventId, text);
}
