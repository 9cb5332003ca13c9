#include "diagtools/CommandSummary.h"

#include <cstdio>

#include "diagtools/EventLogWriter.h"
#include "diagtools/ModuleStatistics.h"

namespace DiagTools {
namespace {

constexpr DWORD kEventDone = 1;
constexpr DWORD kEventErrors = 2;

int commandsRunning = 0;

}  // namespace

CCommandSummary::CCommandSummary(const char* commandName, Effect effect)
    : m_commandName(commandName),
      m_effect(effect),
      m_errorLinesBefore(CModuleStatistics::ErrorLines()) {
    ++commandsRunning;
}

CCommandSummary::~CCommandSummary() {
    if (--commandsRunning > 0)
        return;
    const std::uint32_t errors = CModuleStatistics::ErrorLines() - m_errorLinesBefore;
    if (errors == 0 && m_effect == Effect::None)
        return;
    char text[256];
    std::snprintf(text, sizeof(text), "%s done. Errors traced: %u.", m_commandName,
                  static_cast<unsigned>(errors));
    if (errors == 0)
        CEventLogWriter::Report(EVENTLOG_INFORMATION_TYPE, kEventDone, text);
    else
        CEventLogWriter::Report(EVENTLOG_WARNING_TYPE, kEventErrors, text);
}

}  // namespace DiagTools
