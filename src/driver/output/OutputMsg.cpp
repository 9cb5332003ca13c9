#include "driver/output/OutputMsg.h"

#include <windows.h>

#include <fstream>

#include "diagtools/DiagTraceInfo.h"
#include "driver/output/TextFile.h"

namespace {

constexpr char kTraceFile[] = "OutputMsg";

/// The C++ streams are no use here: a console, a pipe and a file each get a text from them in other
/// pieces, and a reader sees halves of lines.
void WriteToConsole(const std::string& message) {
    const std::string bytes = TextModeBytes(message);
    DWORD written = 0;
    ::WriteFile(::GetStdHandle(STD_OUTPUT_HANDLE), bytes.data(), static_cast<DWORD>(bytes.size()),
                &written, nullptr);
}

}  // namespace

bool COutputMsg::IsWanted(bool verboseOnly) const {
    return m_verbose || !verboseOnly || (DiagTools::traceFilter & DiagTools::kTraceDetail) != 0;
}

void COutputMsg::DisplayMsg(const std::string& message, bool verboseOnly) {
    DT_TRACE_TEXT(DiagTools::kTraceDetail, message.c_str());
    if (!m_verbose && verboseOnly)
        return;
    if (m_logFileName.empty())
        WriteToConsole(message);
    else
        AppendText(m_logFileName, message);
}

void COutputMsg::SetOutputLogFile(const std::string& fileName) {
    m_logFileName = fileName;
    // Both C++ libraries open streams deny-none: others may read and write the file meanwhile.
    if (!m_logFileName.empty())
        std::ofstream truncated(m_logFileName, std::ios::out | std::ios::trunc);
}

bool IsDetailWanted(const boost::weak_ptr<COutputMsg>& output) {
    const boost::shared_ptr<COutputMsg> shown = output.lock();
    return shown && shown->IsWanted(true);
}

void DisplayThrough(const boost::weak_ptr<COutputMsg>& output, const std::string& message,
                    bool verboseOnly) {
    if (const boost::shared_ptr<COutputMsg> shown = output.lock())
        shown->DisplayMsg(message, verboseOnly);
}
