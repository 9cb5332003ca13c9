#pragma once

#include <windows.h>

#include <cstdint>
#include <exception>

#include "diagtools/ModuleStatistics.h"

/// Writes an event at the end of a command that changes something or fails, so that an
/// administrator can later find out from the event log what an installer ran.
class CCommandSummary {
public:
    /// command: the option's name, which must outlive the object. changes: true if the command
    /// changes the store, the server or a batch file.
    CCommandSummary(const char* command, bool changes) : m_command(command), m_changes(changes) {}
    ~CCommandSummary();
    CCommandSummary(const CCommandSummary&) = delete;
    CCommandSummary& operator=(const CCommandSummary&) = delete;

    /// False if the server address or a file name was missing, so that nothing was done.
    void SetExecuted(bool executed) { m_executed = executed; }

private:
    void Report() const;

    const char* m_command;
    bool m_changes;
    bool m_executed = true;
    int m_exceptionsBefore = std::uncaught_exceptions();
    std::uint32_t m_errorsBefore = DiagTools::CModuleStatistics::ErrorLines();
};
