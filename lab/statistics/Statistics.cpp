// lab_statistics [PROGRAM [ARGUMENT...]]: prints the trace statistics of all processes, or runs
// PROGRAM and prints its statistics when it has ended. Each process has a shared memory for them,
// which exists while any process has it open.
#include <windows.h>

#include <tlhelp32.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "lab/journal/Environment.h"

namespace {

// The shared memory's layout for readers of any build.
struct Block {
    char signature[4];  // "DTSS"
    std::uint32_t version;
    std::uint64_t startTime;  // FILETIME, UTC
    char name[64];
    std::uint64_t lines[32];  // [n]: lines of level 1 << n
};
static_assert(sizeof(Block) == 336);

std::string MemoryName(DWORD processId) {
    return "Local\\DTSSM_" + std::to_string(processId);
}

/// "4:2 16:9": trace level and number of lines, for the levels that have any.
std::string LinesText(const Block& block) {
    std::string text;
    for (unsigned bit = 0; bit < 32; ++bit)
        if (const std::uint64_t lines = block.lines[bit])
            text += (text.empty() ? "" : " ") + std::to_string(std::uint64_t{1} << bit) + ':' +
                    std::to_string(lines);
    return text.empty() ? "none" : text;
}

/// Returns zero on failure.
FILETIME StartTime(DWORD processId) {
    const lab::Handle process(::OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId));
    FILETIME start{}, unused{};
    ::GetProcessTimes(process.get(), &start, &unused, &unused, &unused);
    return start;
}

/// Prints one line, or nothing for a process without statistics.
void Print(DWORD processId) {
    const lab::Handle mapping(
        ::OpenFileMappingA(FILE_MAP_READ, FALSE, MemoryName(processId).c_str()));
    const void* const view =
        mapping ? ::MapViewOfFile(mapping.get(), FILE_MAP_READ, 0, 0, sizeof(Block)) : nullptr;
    if (!view)
        return;
    Block block;
    std::memcpy(&block, view, sizeof(block));
    ::UnmapViewOfFile(view);
    // Process ids are reused: the memory may be that of an earlier process.
    const FILETIME start = StartTime(processId);
    SYSTEMTIME time{};
    ::FileTimeToSystemTime(&start, &time);
    if (std::memcmp(block.signature, "DTSS", 4) == 0 && block.version == 2 &&
        std::memcmp(&block.startTime, &start, sizeof(start)) == 0)
        std::printf("%-24.63s %8lu  %04d-%02d-%02d %02d:%02d:%02d  %s\n", block.name, processId,
                    time.wYear, time.wMonth, time.wDay, time.wHour, time.wMinute, time.wSecond,
                    LinesText(block).c_str());
}

/// Returns the command line after our own name, unchanged, with its quotation marks.
std::string RestOfCommandLine() {
    std::string line = ::GetCommandLineA();
    const std::size_t end = line[0] == '"' ? line.find('"', 1) + 1 : line.find(' ');
    const std::size_t rest = end < line.size() ? line.find_first_not_of(' ', end) : line.npos;
    return rest == line.npos ? std::string() : line.substr(rest);
}

}  // namespace

int main() {
    PROCESS_INFORMATION started{};
    lab::Handle memory;  // keeps the memory after the program has ended
    if (std::string commandLine = RestOfCommandLine(); !commandLine.empty()) {
        STARTUPINFOA startup{};
        startup.cb = sizeof(startup);
        if (!::CreateProcessA(nullptr, &commandLine[0], nullptr, nullptr, TRUE, CREATE_SUSPENDED,
                              nullptr, nullptr, &startup, &started)) {
            std::fprintf(stderr, "lab_statistics: can't start %s\n", commandLine.c_str());
            return EXIT_FAILURE;
        }
        memory.reset(::CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0,
                                          sizeof(Block), MemoryName(started.dwProcessId).c_str()));
        ::ResumeThread(started.hThread);
        ::WaitForSingleObject(started.hProcess, INFINITE);
    }
    std::printf("%-24s %8s  %-19s  %s\n", "MODULE", "PROCESS", "STARTED (UTC)",
                "TRACE LINES BY LEVEL");
    if (started.dwProcessId) {
        Print(started.dwProcessId);
        return EXIT_SUCCESS;
    }
    const lab::Handle processes(::CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
    PROCESSENTRY32 process{};
    process.dwSize = sizeof(process);
    for (BOOL more = ::Process32First(processes.get(), &process); more;
         more = ::Process32Next(processes.get(), &process))
        Print(process.th32ProcessID);
    return EXIT_SUCCESS;
}
