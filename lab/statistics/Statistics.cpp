// Prints the statistics of traced modules: lab_statistics [PROGRAM [ARGUMENT...]]
//
// The statistics live in memory that exists while somebody has it open. Given a program, this runs
// it and prints its statistics when it has ended; given none, it prints what is there now.
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "diagtools/StatisticsMemory.h"

namespace {

using DiagTools::CStatisticsMemory;
using DiagTools::Handle;
using DiagTools::ModuleRecord;

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
    const Handle process(information.hProcess);
    const Handle thread(information.hThread);
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
std::string LinesText(const ModuleRecord& record) {
    std::string text;
    for (std::size_t bit = 0; bit < record.traceLines.size(); ++bit) {
        if (record.traceLines[bit] != 0)
            text += (text.empty() ? "" : " ") + std::to_string(1ULL << bit) + ':' +
                    std::to_string(record.traceLines[bit]);
    }
    return text.empty() ? "none" : text;
}

void PrintRecord(const ModuleRecord& record) {
    std::printf("%-24s %8u  %-7s  %s  %s\n", record.name.c_str(),
                static_cast<unsigned>(record.processId), record.running ? "running" : "ended",
                TimeText(record.startTime).c_str(), LinesText(record).c_str());
}

}  // namespace

int main() {
    CStatisticsMemory memory;
    if (!memory.Open()) {
        std::fputs("lab_statistics: the statistics can't be opened\n", stderr);
        return EXIT_FAILURE;
    }
    const std::string commandLine = RestOfCommandLine();
    const DWORD processId = commandLine.empty() ? 0 : RunProgram(commandLine);
    if (!commandLine.empty() && processId == 0) {
        std::fprintf(stderr, "lab_statistics: can't start %s\n", commandLine.c_str());
        return EXIT_FAILURE;
    }
    const auto records = memory.Read();
    if (!records) {
        std::fputs("lab_statistics: the statistics are in use\n", stderr);
        return EXIT_FAILURE;
    }
    std::fflush(stdout);
    std::printf("%-24s %8s  %-7s  %-19s  %s\n", "MODULE", "PROCESS", "STATE", "STARTED (UTC)",
                "TRACE LINES BY LEVEL");
    for (const ModuleRecord& record : *records)
        if (processId == 0 || record.processId == processId)
            PrintRecord(record);
    return EXIT_SUCCESS;
}
