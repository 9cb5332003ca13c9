// Prints the statistics of traced modules: lab_statistics [PROGRAM [ARGUMENT...]]
// The statistics live in memory that exists while somebody has it open. Given a program, this runs
// it and prints its statistics when it has ended; given none, it prints what is there now.
#include <windows.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "lab/journal/Environment.h"

namespace {

// The memory as readers of any build expect it.
constexpr char kMemoryName[] = "Local\\DTSSM_ModuleStatistics";

struct Slot {
    std::uint32_t processId;  // 0: never used
    std::uint32_t reserved;
    std::uint64_t startTime;  // FILETIME, UTC
    char name[64];
    std::uint64_t lines[32];  // [n]: lines of level 1 << n
};
struct Memory {
    char signature[4];  // "DTSS", zeros before the first module came
    std::uint32_t version;
    std::uint32_t slotBytes;
    std::uint32_t slotCount;
    Slot slots[64];
};
static_assert(sizeof(Slot) == 336 && sizeof(Memory) == 16 + 64 * 336);

struct Unmap {
    void operator()(const Memory* memory) const noexcept { ::UnmapViewOfFile(memory); }
};

bool IsRunning(const Slot& slot) {
    const lab::Handle process(
        ::OpenProcess(SYNCHRONIZE | PROCESS_QUERY_LIMITED_INFORMATION, FALSE, slot.processId));
    FILETIME start{}, unused{};
    return process && ::WaitForSingleObject(process.get(), 0) == WAIT_TIMEOUT &&
           ::GetProcessTimes(process.get(), &start, &unused, &unused, &unused) &&
           (std::uint64_t{start.dwHighDateTime} << 32 | start.dwLowDateTime) == slot.startTime;
}

/// The command line behind our own name, as it was given: quotes and all.
std::string RestOfCommandLine() {
    std::string line = ::GetCommandLineA();
    const std::size_t end = line[0] == '"' ? line.find('"', 1) + 1 : line.find(' ');
    const std::size_t rest = end < line.size() ? line.find_first_not_of(' ', end) : line.npos;
    return rest == line.npos ? std::string() : line.substr(rest);
}

/// Returns the program's process id; 0 when it can't be started.
DWORD RunProgram(std::string commandLine) {
    STARTUPINFOA startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION information{};
    if (!::CreateProcessA(nullptr, &commandLine[0], nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                          &startup, &information))
        return 0;
    const lab::Handle process(information.hProcess);
    const lab::Handle thread(information.hThread);
    ::WaitForSingleObject(process.get(), INFINITE);
    return information.dwProcessId;
}

std::string TimeText(std::uint64_t fileTime) {
    const FILETIME value{static_cast<DWORD>(fileTime), static_cast<DWORD>(fileTime >> 32)};
    SYSTEMTIME time{};
    ::FileTimeToSystemTime(&value, &time);
    char text[64];
    std::snprintf(text, sizeof(text), "%04d-%02d-%02d %02d:%02d:%02d", time.wYear, time.wMonth,
                  time.wDay, time.wHour, time.wMinute, time.wSecond);
    return text;
}

/// "4:2 16:9": trace level and number of lines, for the levels that have any.
std::string LinesText(const Slot& slot) {
    std::string text;
    unsigned long long level = 1;
    for (const std::uint64_t lines : slot.lines) {
        if (lines != 0)
            text += (text.empty() ? "" : " ") + std::to_string(level) + ':' + std::to_string(lines);
        level <<= 1;
    }
    return text.empty() ? "none" : text;
}

int Fail(const std::string& what) {
    return std::fprintf(stderr, "lab_statistics: %s\n", what.c_str()), EXIT_FAILURE;
}

}  // namespace

int main() {
    const lab::Handle mapping(::CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0,
                                                   sizeof(Memory), kMemoryName));
    const std::unique_ptr<const Memory, Unmap> memory(static_cast<const Memory*>(
        mapping ? ::MapViewOfFile(mapping.get(), FILE_MAP_READ, 0, 0, sizeof(Memory)) : nullptr));
    if (!memory)
        return Fail("the statistics can't be opened");
    const std::string commandLine = RestOfCommandLine();
    const DWORD processId = commandLine.empty() ? 0 : RunProgram(commandLine);
    if (!commandLine.empty() && processId == 0)
        return Fail("can't start " + commandLine);
    const bool isKnown = std::memcmp(memory->signature, "DTSS", 4) == 0 && memory->version == 1 &&
                         memory->slotBytes == sizeof(Slot) && memory->slotCount == 64;
    if (memory->version != 0 && !isKnown)
        return Fail("the statistics have another layout");
    std::printf("%-24s %8s  %-7s  %-19s  %s\n", "MODULE", "PROCESS", "STATE", "STARTED (UTC)",
                "TRACE LINES BY LEVEL");
    for (const Slot& slot : memory->slots) {
        if (slot.processId != 0 && (processId == 0 || slot.processId == processId))
            std::printf("%-24.63s %8u  %-7s  %s  %s\n", slot.name, slot.processId,
                        IsRunning(slot) ? "running" : "ended", TimeText(slot.startTime).c_str(),
                        LinesText(slot).c_str());
    }
    return EXIT_SUCCESS;
}
