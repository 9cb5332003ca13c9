#include "diagtools/ModuleStatistics.h"

#include "diagtools/DiagTraceInfo.h"
#include "diagtools/StatisticsMemory.h"
#include "win/AnsiPath.h"

namespace DiagTools {
namespace {

std::uint32_t errorLines = 0;
StatisticsSlot* ownSlot = nullptr;

/// Lets go of the memory at process exit; lines traced after that are not shown.
struct SharedStatistics {
    ~SharedStatistics() { ownSlot = nullptr; }
    CStatisticsMemory memory;
};

}  // namespace

void CModuleStatistics::Initialize(HMODULE module) {
    static SharedStatistics shared;
    ModulePath path;
    if (!ownSlot && GetModulePath(module, path) && shared.memory.Open())
        ownSlot = shared.memory.Claim(path.fileName, ::GetCurrentProcessId(),
                                      ProcessStartTime(::GetCurrentProcess()));
}

void CModuleStatistics::CountTraceLine(std::uint32_t level) {
    if ((level & kTraceError) != 0)
        ++errorLines;
    if (!ownSlot)
        return;
    for (std::size_t bit = 0; level != 0; ++bit, level >>= 1)
        if ((level & 1) != 0)
            ++ownSlot->traceLines[bit];
}

std::uint32_t CModuleStatistics::ErrorLines() {
    return errorLines;
}

void CModuleStatistics::SetErrorLines(std::uint32_t lines) {
    errorLines = lines;
}

}  // namespace DiagTools
