#pragma once

#include <windows.h>

#include <atomic>
#include <cstdint>

namespace DiagTools {

/// Layout of the shared memory Local\DTSSM_<process id>. Its readers may come from other builds: a
/// change here needs a new version.
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

/// Counts this process's trace lines and shows the counts to tools that watch running processes.
/// Without the shared memory the run goes on silently, and only ErrorLines counts.
class CModuleStatistics {
public:
    /// Makes the process's block and writes its header; waits at most 5000 ms for the block's
    /// mutex.
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
