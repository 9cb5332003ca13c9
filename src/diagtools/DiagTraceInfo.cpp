#include "diagtools/DiagTraceInfo.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "diagtools/HResultCheck.h"
#include "diagtools/InternalTrace.h"

namespace DiagTools {
namespace {

constexpr std::size_t kTraceChars = 32768;

}  // namespace

CDiagTraceInfo::CDiagTraceInfo(const char* fileTag, std::uint32_t line, const char* functionTag)
    : m_fileTag(fileTag), m_functionTag(functionTag), m_line(line) {
    traceFilter = CDiagTrace::Instance().GetFilter();
}

void CDiagTraceInfo::ReduceFileTag() {
    if (m_fileTagReduced)
        return;
    m_fileTagReduced = true;
    if (const char* separator = m_fileTag ? std::strrchr(m_fileTag, '\\') : nullptr)
        m_fileTag = separator + 1;
}

bool CDiagTraceInfo::operator()(std::uint32_t level, const char* format, ...) {
    if (!Passes(level))
        return false;
    if (!format) {
        CInternalTrace::Write("CDiagTraceInfo::operator() if(NULL == pszFmt) Failed\n");
        return false;
    }
    ReduceFileTag();
    char text[kTraceChars];  // not cleared, to keep short lines cheap
    va_list arguments;
    va_start(arguments, format);
    if (std::vsnprintf(text, sizeof(text), format, arguments) < 0)
        text[0] = '\0';
    va_end(arguments);
    CDiagTrace::Instance().Trace(m_fileTag, m_line, m_functionTag, level, 0, 0, text);
    return true;
}

bool CDiagTraceInfo::TraceText(std::uint32_t level, const char* text) {
    return operator()(level, "%s", text);
}

bool CDiagTraceInfo::TraceBuffer(std::uint32_t level, const void* buffer, std::size_t length) {
    if (!Passes(level))
        return false;
    if (!buffer) {
        CInternalTrace::Write("CDiagTraceInfo::operator() if(NULL == pBuf) Failed\n");
        return false;
    }
    ReduceFileTag();
    CDiagTrace::Instance().TraceBuffer(m_fileTag, m_line, m_functionTag, level, 0, 0, buffer,
                                       std::min(length, kTraceChars));
    return true;
}

HRESULT CheckHResult(const char* file, std::uint32_t line, const char* function,
                     const char* expressionText, HRESULT hr) {
    if ((traceFilter & kTraceError) != 0)
        CDiagTraceInfo(file, line, function)(
            kTraceError, "HRESULT Failed, Err Code [%#08lX].\nExecuted code: %s",
            static_cast<unsigned long>(hr), expressionText);
    return hr;
}

}  // namespace DiagTools
