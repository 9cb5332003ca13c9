#include "clients/CsvFile.h"

#include <algorithm>
#include <boost/algorithm/string.hpp>
#include <fstream>
#include <new>

#include "diagtools/HResultCheck.h"
#include "win/Handles.h"

namespace {

constexpr char kTraceFile[] = "CsvFile";

}  // namespace

bool WriteCsvFile(const std::string& fileName, const char* header,
                  const std::function<void(std::ostream& file)>& writeLines) {
    std::ofstream file(fileName, std::ios::out | std::ios::trunc);
    if (!file.is_open())
        return true;
    file << header;
    writeLines(file);
    file.close();
    return !file.fail();
}

void ForEachCsvEntry(const std::string& fileName,
                     const std::function<void(const std::string& line)>& entry) {
    // Not in text mode: the C library would end the file at a stray byte 0x1A and drop the rest.
    const Handle file =
        OpenFileHandle(fileName.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                       OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN);
    std::string line;
    bool tooLong = false;  // to fit into memory
    unsigned long linesRead = 0;
    const auto endLine = [&] {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (++linesRead > 1 && !tooLong && !line.empty() && line.front() != '#')
            entry(line);
        line.clear();
        tooLong = false;
    };
    char buffer[32768];
    for (DWORD bytes = file ? 1 : 0; bytes > 0;) {
        if (!::ReadFile(file.get(), buffer, sizeof(buffer), &bytes, nullptr)) {
            const DWORD error = ::GetLastError();
            DT_TRACE(kTraceError, "Unable to read input file [%s] after line [%lu], error [%lu]",
                     fileName.c_str(), linesRead, error);
            return;
        }
        const char* const end = buffer + bytes;
        for (const char* at = buffer; at != end;) {
            const char* const lineEnd = std::find(at, end, '\n');
            try {
                if (!tooLong)
                    line.append(at, lineEnd);
            } catch (const std::bad_alloc& exception) {
                tooLong = true;
                TRACE_RECORD_LEFT_OUT(exception);
            }
            at = lineEnd;
            if (at != end) {
                endLine();
                ++at;
            }
        }
    }
    if (!line.empty())
        endLine();
}

std::vector<std::string> SplitCsvFields(const std::string& line) {
    std::vector<std::string> fields;
    boost::algorithm::split(fields, line, [](char c) { return c == ','; });
    return fields;
}

void TrimCsvField(std::string& field) {
    boost::algorithm::trim_if(
        field, [](char c) { return c == ' ' || c == '\t'; });
}
