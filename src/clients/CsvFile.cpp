#include "clients/CsvFile.h"

#include <windows.h>

#include <algorithm>
#include <boost/algorithm/string.hpp>

#include "diagtools/HResultCheck.h"
#include "diagtools/Handle.h"

namespace {

constexpr char kTraceFile[] = "CsvFile";

/// The lines of a file as they become complete.
class CLineCollector {
public:
    using Entry = std::function<void(const std::string& line)>;

    explicit CLineCollector(const Entry& entry) : m_entry(entry) {}

    /// More of the line; a line that there is no memory for is left out.
    void Add(const char* begin, const char* end) {
        CONTAIN_EXCEPTIONS(AppendUnlessLost(begin, end));
    }
    void EndLine() {
        ++m_linesRead;
        if (!m_line.empty() && m_line.back() == '\r')
            m_line.pop_back();
        const bool isHeader = m_linesRead == 1;
        if (!isHeader && !m_lost && !m_line.empty() && m_line.front() != '#')
            m_entry(m_line);
        m_line.clear();
        m_lost = false;
    }
    bool HasMore() const { return !m_line.empty(); }
    unsigned long LinesRead() const { return m_linesRead; }

private:
    void AppendUnlessLost(const char* begin, const char* end) {
        if (m_lost)
            return;
        m_lost = true;  // unless it fits
        m_line.append(begin, end);
        m_lost = false;
    }

    const Entry& m_entry;
    std::string m_line;
    bool m_lost = false;
    unsigned long m_linesRead = 0;
};

}  // namespace

void ForEachCsvEntry(const std::string& fileName,
                     const std::function<void(const std::string& line)>& entry) {
    // Bytes, because the C library's text mode takes a stray 0x1A for the end of the file and would
    // lose every record behind it. The CR that text mode takes off is taken off here.
    const HANDLE opened =
        ::CreateFileA(fileName.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                      OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr);
    if (opened == INVALID_HANDLE_VALUE)
        return;
    const DiagTools::Handle file(opened);
    CLineCollector lines(entry);
    char buffer[32768];
    for (DWORD bytes = 1; bytes > 0;) {
        if (!::ReadFile(opened, buffer, sizeof(buffer), &bytes, nullptr)) {
            const DWORD error = ::GetLastError();
            DT_TRACE(DiagTools::kTraceError,
                     "Unable to read input file [%s] after line [%lu], error [%lu]",
                     fileName.c_str(), lines.LinesRead(), error);
            return;
        }
        const char* const end = buffer + bytes;
        for (const char* at = buffer; at != end;) {
            const char* const lineEnd = std::find(at, end, '\n');
            lines.Add(at, lineEnd);
            at = lineEnd;
            if (at != end) {
                lines.EndLine();
                ++at;
            }
        }
    }
    if (lines.HasMore())
        lines.EndLine();
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
