#pragma once

#include <windows.h>

#include <cstdint>

namespace DiagTools {

/// Counts this process's trace lines, and shows them in shared memory to tools that watch running
/// processes (layout: ModuleStatisticsLayout.h). Without that memory the run goes on silently, and
/// only ErrorLines counts.
class CModuleStatistics {
public:
    /// Takes a slot for the module; waits 5000 ms at most for others that do the same. The slot
    /// keeps its counts when the process ends, until another process needs it.
    static void Initialize(HMODULE module);
    /// Counts one trace line of this level, whether or not a trace client takes it. Neither waits
    /// nor allocates.
    static void CountTraceLine(std::uint32_t level);
    /// Lines of level 1 traced by this process so far.
    static std::uint32_t ErrorLines();
    /// Takes back lines that turned out to mean no failure.
    static void SetErrorLines(std::uint32_t lines);
};

}  // namespace DiagTools
