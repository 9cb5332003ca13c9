#include "driver/output/OutputMsg.h"

#include <windows.h>

#include "diagtools/DiagTraceInfo.h"
#include "driver/output/TextFile.h"

namespace {

constexpr char kTraceFile[] = "OutputMsg";

/// Not std::cout: it may split a message into several writes, and a reader would see half a line.
void WriteToConsole(const std::string& message) {
    const std::string bytes = TextModeBytes(message);
    DWORD written = 0;
    ::WriteFile(::GetStdHandle(STD_OUTPUT_HANDLE), bytes.data(), static_cast<DWORD>(bytes.size()),
                &written, nullptr);
}

}  // namespace

bool COutputMsg::IsDetailWanted() const {
    return m_verbose || (DiagTools::traceFilter & DiagTools::kTraceDetail) != 0;
}

void COutputMsg::DisplayMsg(const std::string& message, bool verboseOnly) {
    DT_TRACE_TEXT(kTraceDetail, message.c_str());
    if (!m_verbose && verboseOnly)
        return;
    if (m_logFileName.empty())
        WriteToConsole(message);
    else
        AppendText(m_logFileName, message);
}

void COutputMsg::SetOutputLogFile(const std::string& fileName) {
    m_logFileName = fileName;
    if (!m_logFileName.empty())
        EmptyFile(m_logFileName);
}

bool IsDetailWanted(const Output& output) {
    const boost::shared_ptr<COutputMsg> shown = output.lock();
    return shown && shown->IsDetailWanted();
}

void DisplayThrough(const Output& output, const std::string& message, bool verboseOnly) {
    if (const boost::shared_ptr<COutputMsg> shown = output.lock())
        shown->DisplayMsg(message, verboseOnly);
}

void ShowResult(const Output& output, std::string record, unsigned long error) {
    if (error == 0 && !IsDetailWanted(output))
        return;
    record += error == 0 ? kRecordDone : Format(kRecordFailed, error);
    DisplayThrough(output, record, error == 0);
}
