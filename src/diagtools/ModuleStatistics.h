#pragma once

#include <windows.h>

#include <atomic>
#include <cstdint>

namespace DiagTools {

/// Layout of the shared memory Local\DTSSM_<process id>. Readers may come from other builds: a new
/// layout needs a new kStatisticsVersion.
struct ModuleStatisticsBlock {
    std::uint32_t signature;  // kStatisticsSignature; written last
    std::uint32_t version;
    std::uint64_t startTime;  // of the process; FILETIME value, UTC
    char name[64];            // file name of the module, zero-terminated, ANSI code page
    std::atomic<std::uint64_t> traceLines[32];  // [n]: lines of level 1 << n
};
static_assert(sizeof(ModuleStatisticsBlock) == 336 &&
              std::atomic<std::uint64_t>::is_always_lock_free);

inline constexpr std::uint32_t kStatisticsSignature = 0x53535444;  // "DTSS" as bytes
inline constexpr std::uint32_t kStatisticsVersion = 2;

/// Counts this process's trace lines in shared memory, for tools that watch running processes.
/// Without the memory the run continues silently, and only ErrorLines counts.
class CModuleStatistics {
public:
    /// Creates the process's block and writes its header. Waits at most 5000 ms for the mutex.
    static void Initialize(HMODULE module);
    /// Counts a trace line of this level, with or without a trace client. Never waits or allocates.
    static void CountTraceLine(std::uint32_t level);
    /// Returns the number of level 1 lines that this process has traced.
    static std::uint32_t ErrorLines();
    /// Resets the number, to discount lines that did not mean a failure.
    static void SetErrorLines(std::uint32_t lines);
};

}  // namespace DiagTools
