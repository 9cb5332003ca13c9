#include "diagtools/ModuleStatistics.h"

#include <cstring>
#include <string>

#include "diagtools/DiagTraceInfo.h"
#include "win/AnsiPath.h"
#include "win/Handles.h"

namespace DiagTools {
namespace {

constexpr DWORD kMutexWaitMs = 5000;

std::uint32_t errorLines = 0;
ModuleStatisticsBlock* block = nullptr;  // stays mapped until the process ends

/// Returns false, without a change, if the memory is neither empty nor a block of this version. Any
/// process of the session may have created it, so its content is only compared.
bool FillHeader(ModuleStatisticsBlock& header, const std::string& name) {
    const bool isOurs =
        header.signature == kStatisticsSignature && header.version == kStatisticsVersion;
    if (!isOurs && (header.signature != 0 || header.version != 0))
        return false;
    FILETIME start{}, unused{};
    ::GetProcessTimes(::GetCurrentProcess(), &start, &unused, &unused, &unused);
    std::memset(header.name, 0, sizeof(header.name));
    std::memcpy(header.name, name.c_str(), WholeCharacters(name.c_str(), sizeof(header.name) - 1));
    for (auto& lines : header.traceLines)
        lines = 0;
    header.startTime = std::uint64_t{start.dwHighDateTime} << 32 | start.dwLowDateTime;
    header.version = kStatisticsVersion;
    header.signature = kStatisticsSignature;
    return true;
}

}  // namespace

void CModuleStatistics::Initialize(HMODULE module) {
    // "Local\" limits the names to the logon session: creating global names requires a privilege.
    const std::string name = "Local\\DTSSM_" + std::to_string(::GetCurrentProcessId());
    static const Handle mutex(::CreateMutexA(nullptr, FALSE, (name + "_Lock").c_str()));
    static const Handle mapping(::CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE,
                                                     0, sizeof(ModuleStatisticsBlock),
                                                     name.c_str()));
    ModulePath path;
    if (block || !mutex || !mapping || !GetModulePath(module, path))
        return;
    // Fails if an existing memory of this name is smaller.
    auto* const view = static_cast<ModuleStatisticsBlock*>(
        ::MapViewOfFile(mapping.get(), FILE_MAP_WRITE, 0, 0, sizeof(ModuleStatisticsBlock)));
    if (!view)
        return;
    // An abandoned mutex is fine: only this process writes the header.
    const DWORD wait = ::WaitForSingleObject(mutex.get(), kMutexWaitMs);
    if (wait == WAIT_OBJECT_0 || wait == WAIT_ABANDONED) {
        if (FillHeader(*view, path.fileName))
            block = view;
        ::ReleaseMutex(mutex.get());
    }
    if (!block)
        ::UnmapViewOfFile(view);
}

void CModuleStatistics::CountTraceLine(std::uint32_t level) {
    if ((level & kTraceError) != 0)
        ++errorLines;
    for (std::size_t bit = 0; block && level != 0; ++bit, level >>= 1)
        if ((level & 1) != 0)
            ++block->traceLines[bit];
}

std::uint32_t CModuleStatistics::ErrorLines() {
    return errorLines;
}

void CModuleStatistics::SetErrorLines(std::uint32_t lines) {
    errorLines = lines;
}

}  // namespace DiagTools
