#include "driver/CommandSummary.h"

#include "diagtools/EventLogWriter.h"
#include "driver/output/Format.h"

namespace {

constexpr DWORD kCommandEventId = 1;

}  // namespace

CCommandSummary::~CCommandSummary() {
    try {
        Report();
    } catch (const std::exception&) {
        // Out of memory: skip the event.
    }
}

void CCommandSummary::Report() const {
    const unsigned long errors = DiagTools::CModuleStatistics::ErrorLines() - m_errorsBefore;
    const bool thrown = std::uncaught_exceptions() > m_exceptionsBefore;
    if (!m_changes && errors == 0 && !thrown)
        return;
    std::string text = Format("Command [%s] not executed.", m_command);
    if (thrown)
        text = Format("Command [%s] ended by an exception, error lines traced [%lu].", m_command,
                      errors);
    else if (m_executed)
        text = Format("Command [%s] executed, error lines traced [%lu].", m_command, errors);
    const bool clean = m_executed && errors == 0 && !thrown;
    DiagTools::CEventLogWriter::Report(clean ? EVENTLOG_INFORMATION_TYPE : EVENTLOG_WARNING_TYPE,
                                       kCommandEventId, text.c_str());
}
