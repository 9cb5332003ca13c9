#include "diagtools/StatisticsMemory.h"

#include <algorithm>
#include <cstring>

#include "win/AnsiPath.h"

namespace DiagTools {
namespace {

constexpr DWORD kMutexWaitMs = 5000;

/// Holds the mutex while it lives, if it could be had.
class MutexLock {
public:
    explicit MutexLock(HANDLE mutex) : m_mutex(mutex) {
        const DWORD result = ::WaitForSingleObject(mutex, kMutexWaitMs);
        // An owner that died half-way is no obstacle: a slot becomes valid with its last write.
        m_held = result == WAIT_OBJECT_0 || result == WAIT_ABANDONED;
    }
    ~MutexLock() {
        if (m_held)
            ::ReleaseMutex(m_mutex);
    }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

    bool IsHeld() const { return m_held; }

private:
    HANDLE m_mutex;
    bool m_held;
};

/// Process ids are reused, so the process with the id has to be the one that was started then.
bool IsRunning(std::uint32_t processId, std::uint64_t startTime) {
    const Handle process(
        ::OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION | SYNCHRONIZE, FALSE, processId));
    if (!process)
        return ::GetLastError() == ERROR_ACCESS_DENIED;
    return ::WaitForSingleObject(process.get(), 0) == WAIT_TIMEOUT &&
           ProcessStartTime(process.get()) == startTime;
}

bool IsRunning(const StatisticsSlot& slot) {
    const std::uint32_t processId = slot.processId.load();
    return processId != 0 && IsRunning(processId, slot.startTime);
}

void FillHeaderOnce(StatisticsMemory& memory) {
    if (memory.signature != 0)
        return;
    memory.version = kStatisticsVersion;
    memory.slotBytes = sizeof(StatisticsSlot);
    memory.slotCount = kStatisticsSlots;
    memory.signature = kStatisticsSignature;
}

bool IsOurLayout(const StatisticsMemory& memory) {
    return memory.signature == kStatisticsSignature && memory.version == kStatisticsVersion &&
           memory.slotBytes == sizeof(StatisticsSlot) && memory.slotCount == kStatisticsSlots;
}

}  // namespace

std::uint64_t ProcessStartTime(HANDLE process) {
    FILETIME created{};
    FILETIME unused[3];
    if (!::GetProcessTimes(process, &created, &unused[0], &unused[1], &unused[2]))
        return 0;
    return std::uint64_t{created.dwHighDateTime} << 32 | created.dwLowDateTime;
}

CStatisticsMemory::~CStatisticsMemory() {
    if (m_memory)
        ::UnmapViewOfFile(m_memory);
}

bool CStatisticsMemory::Open(const std::string& name) {
    if (m_memory)
        return true;
    const std::string fullName = kStatisticsMemoryPrefix + name;
    m_mutex.reset(::CreateMutexA(nullptr, FALSE, (fullName + kStatisticsMutexSuffix).c_str()));
    m_mapping.reset(::CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0,
                                         sizeof(StatisticsMemory), fullName.c_str()));
    if (!m_mutex || !m_mapping)
        return false;
    // Fails as well for a memory that is smaller than the layout.
    void* const view = ::MapViewOfFile(m_mapping.get(), FILE_MAP_READ | FILE_MAP_WRITE, 0, 0,
                                       sizeof(StatisticsMemory));
    if (!view)
        return false;
    auto* const memory = static_cast<StatisticsMemory*>(view);
    {
        const MutexLock lock(m_mutex.get());
        if (lock.IsHeld())
            FillHeaderOnce(*memory);
        if (lock.IsHeld() && IsOurLayout(*memory))
            m_memory = memory;
    }
    if (!m_memory)
        ::UnmapViewOfFile(view);
    return m_memory != nullptr;
}

StatisticsSlot* CStatisticsMemory::Claim(const std::string& moduleName, std::uint32_t processId,
                                         std::uint64_t startTime) {
    if (!m_memory)
        return nullptr;
    const MutexLock lock(m_mutex.get());
    if (!lock.IsHeld())
        return nullptr;
    // A slot never used has start time 0, so it comes before all that were.
    StatisticsSlot* claimed = nullptr;
    for (StatisticsSlot& slot : m_memory->slots)
        if (!IsRunning(slot) && (!claimed || slot.startTime < claimed->startTime))
            claimed = &slot;
    if (!claimed)
        return nullptr;
    claimed->processId = 0;
    claimed->startTime = startTime;
    std::memset(claimed->name, 0, sizeof(claimed->name));
    std::memcpy(claimed->name, moduleName.c_str(),
                WholeCharacters(moduleName.c_str(), sizeof(claimed->name) - 1));
    for (auto& lines : claimed->traceLines)
        lines = 0;
    claimed->processId = processId;
    return claimed;
}

std::optional<std::vector<ModuleRecord>> CStatisticsMemory::Read() const {
    if (!m_memory)
        return std::nullopt;
    const MutexLock lock(m_mutex.get());
    if (!lock.IsHeld())
        return std::nullopt;
    std::vector<ModuleRecord> records;
    for (const StatisticsSlot& slot : m_memory->slots) {
        ModuleRecord record;
        record.processId = slot.processId;
        if (record.processId == 0)
            continue;
        record.startTime = slot.startTime;
        record.running = IsRunning(slot);
        record.name.assign(slot.name, std::find(slot.name, std::end(slot.name), '\0'));
        std::copy(std::begin(slot.traceLines), std::end(slot.traceLines),
                  record.traceLines.begin());
        records.push_back(record);
    }
    return records;
}

}  // namespace DiagTools
