#pragma once

#include <windows.h>

#include <cstdint>
#include <exception>

#include "diagtools/ModuleStatistics.h"

/// Tells the event log, at the end of a command, that it changed something or failed: on a gateway
/// that is where an administrator finds later what an installer ran.
class CCommandSummary {
public:
    /// command: the option's name, which outlives the object. changes: whether the command changes
    /// the store, the server or a batch file.
    CCommandSummary(const char* command, bool changes) : m_command(command), m_changes(changes) {}
    ~CCommandSummary();
    CCommandSummary(const CCommandSummary&) = delete;
    CCommandSummary& operator=(const CCommandSummary&) = delete;

    /// False: the user was told or asked what is missing, and nothing was done.
    void SetExecuted(bool executed) { m_executed = executed; }

private:
    void Report() const;

    const char* m_command;
    bool m_changes;
    bool m_executed = true;
    int m_exceptionsBefore = std::uncaught_exceptions();
    std::uint32_t m_errorsBefore = DiagTools::CModuleStatistics::ErrorLines();
};
