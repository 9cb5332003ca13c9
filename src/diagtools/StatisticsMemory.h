#pragma once

#include <windows.h>

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "diagtools/ModuleStatisticsLayout.h"
#include "win/Handles.h"

namespace DiagTools {

/// A slot as it was read.
struct ModuleRecord {
    std::string name;
    std::uint32_t processId = 0;
    std::uint64_t startTime = 0;  // FILETIME value, UTC
    bool running = false;
    std::array<std::uint64_t, kTraceLevels> traceLines{};
};

/// The shared memory with the statistics of traced modules, and the mutex that guards who has which
/// slot. It lives as long as any process has it open. Other processes of the session may write it
/// at any time, so nothing in it is trusted to be a size, an index or a terminated text.
class CStatisticsMemory {
public:
    CStatisticsMemory() = default;
    ~CStatisticsMemory();
    CStatisticsMemory(const CStatisticsMemory&) = delete;
    CStatisticsMemory& operator=(const CStatisticsMemory&) = delete;

    /// Opens it, or makes it when nobody has. False when the system refuses, the mutex can't be had
    /// within 5000 ms or the memory has another layout.
    bool Open(const std::string& name = kStatisticsName);

    /// A zeroed slot for a process: one never used, else that of the process started longest ago
    /// among those that have ended. Null when all are taken by running processes or the mutex can't
    /// be had. The caller may count in it for as long as this object lives.
    StatisticsSlot* Claim(const std::string& moduleName, std::uint32_t processId,
                          std::uint64_t startTime);

    /// All used slots, those of ended processes too; nothing when the mutex can't be had.
    std::optional<std::vector<ModuleRecord>> Read() const;

private:
    Handle m_mutex;
    Handle m_mapping;
    StatisticsMemory* m_memory = nullptr;  // a view of m_mapping
};

/// When a process was started, FILETIME value, UTC; 0 when the system does not tell.
std::uint64_t ProcessStartTime(HANDLE process);

}  // namespace DiagTools
