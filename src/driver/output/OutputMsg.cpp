#include "driver/output/OutputMsg.h"

#include <windows.h>

#include <boost/shared_ptr.hpp>
#include <fstream>

#include "diagtools/DiagTraceInfo.h"

namespace {

constexpr char kTraceFile[] = "OutputMsg";

/// Text mode ("\n" becomes CR LF) in a single write. The C++ streams are no use here: a console, a
/// pipe and a file each get them in pieces of another size, and a reader sees halves of lines.
void WriteToConsole(const std::string& message) {
    std::string bytes;
    bytes.reserve(message.size() + 16);
    for (const char c : message) {
        if (c == '\n')
            bytes += '\r';
        bytes += c;
    }
    DWORD written = 0;
    ::WriteFile(::GetStdHandle(STD_OUTPUT_HANDLE), bytes.data(), static_cast<DWORD>(bytes.size()),
                &written, nullptr);
}

}  // namespace

void COutputMsg::DisplayMsg(const std::string& message, bool verboseOnly) {
    DT_TRACE_TEXT(DiagTools::kTraceDetail, message.c_str());
    if (!m_verbose && verboseOnly)
        return;
    // Both C++ libraries open streams deny-none: others may read and write the file meanwhile.
    std::ofstream log(m_logFileName, std::ios::out | std::ios::app);
    if (m_logFileName.empty())
        WriteToConsole(message);
    else
        log.write(message.data(), static_cast<std::streamsize>(message.size()));
}

void COutputMsg::SetOutputLogFile(const std::string& fileName) {
    m_logFileName = fileName;
    if (!m_logFileName.empty())
        std::ofstream truncated(m_logFileName, std::ios::out | std::ios::trunc);
}

void DisplayThrough(const boost::weak_ptr<COutputMsg>& output, const std::string& message,
                    bool verboseOnly) {
    if (const boost::shared_ptr<COutputMsg> shown = output.lock())
        shown->DisplayMsg(message, verboseOnly);
}
