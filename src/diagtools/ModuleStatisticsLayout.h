// What the statistics of traced modules look like in shared memory. Writers and readers may come
// from different builds: any change here needs a new kStatisticsVersion.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace DiagTools {

// Names of the kernel objects. "Local\" keeps them to the logon session: the global name space
// takes a privilege to create in.
inline constexpr char kStatisticsMemoryPrefix[] = "Local\\DTSSM_";
inline constexpr char kStatisticsName[] = "ModuleStatistics";
inline constexpr char kStatisticsMutexSuffix[] = "_Lock";

inline constexpr std::uint32_t kStatisticsSignature = 0x53535444;  // "DTSS" as bytes
inline constexpr std::uint32_t kStatisticsVersion = 1;
inline constexpr std::size_t kStatisticsSlots = 64;
inline constexpr std::size_t kStatisticsNameBytes = 64;
inline constexpr std::size_t kTraceLevels = 32;

/// One module of one process. Written by that process; who takes the slot over, and who reads the
/// texts, holds the mutex.
struct StatisticsSlot {
    std::atomic<std::uint32_t> processId;  // 0: never used. Set last, when the rest is valid.
    std::uint32_t reserved;
    std::uint64_t startTime;          // of the process; FILETIME value, UTC
    char name[kStatisticsNameBytes];  // file name of the module, zero-terminated, ANSI code page
    std::atomic<std::uint64_t> traceLines[kTraceLevels];  // [n]: lines of level 1 << n
};

struct StatisticsMemory {
    std::uint32_t signature;  // all zero until the first user has filled the header
    std::uint32_t version;
    std::uint32_t slotBytes;
    std::uint32_t slotCount;
    StatisticsSlot slots[kStatisticsSlots];
};

// Counters are shared between processes: they have to be plain numbers without a hidden lock.
static_assert(std::atomic<std::uint32_t>::is_always_lock_free &&
              std::atomic<std::uint64_t>::is_always_lock_free);
static_assert(sizeof(StatisticsSlot) == 336);
static_assert(offsetof(StatisticsSlot, startTime) == 8 && offsetof(StatisticsSlot, name) == 16 &&
              offsetof(StatisticsSlot, traceLines) == 80);
static_assert(sizeof(StatisticsMemory) == 16 + kStatisticsSlots * sizeof(StatisticsSlot));

}  // namespace DiagTools
