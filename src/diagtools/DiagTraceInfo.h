#pragma once

#include "diagtools/DiagTrace.h"
#include "win/PrintfFormat.h"

namespace DiagTools {

/// Trace levels in use; each is one bit of the filter.
enum TraceLevel : std::uint32_t {
    kTraceError = 1,     // failed API or COM calls, invalid command line
    kTraceProgress = 4,  // command entry and end
    kTraceDetail = 16,   // user messages, server data
    kTraceDefault = 32,  // chosen defaults
    kTraceRecord = 128   // one line per record or address
};

/// The traced function name, such as "CDHCPManager::CreateSubnet": the last two components of the
/// compiler's signature, without an anonymous namespace, computed at compile time. Log searches
/// match these names: do not rename, split or wrap a method that traces.
struct FunctionTag {
    constexpr explicit FunctionTag(const char* signature);
    char text[128];
};

/// One call site that traces, with its tags and line number. Use the DT_TRACE macros.
class CDiagTraceInfo {
public:
    /// Both texts must outlive the object. Refreshes the process-wide filter.
    CDiagTraceInfo(const char* fileTag, std::uint32_t line, const char* functionTag);
    virtual ~CDiagTraceInfo() = default;

    void Enable(bool enabled) { m_enabled = enabled; }

    /// Formats one line, truncates it at 32767 characters and passes it on. Returns false if
    /// nothing was passed on. Never pass data as the format: use TraceText.
    bool operator()(std::uint32_t level, const char* format, ...) DT_PRINTF_FORMAT(3, 4);
    /// Passes on a text unchanged: "%" has no meaning in it.
    bool TraceText(std::uint32_t level, const char* text);
    /// Passes on raw bytes, 32768 at most.
    bool TraceBuffer(std::uint32_t level, const void* buffer, std::size_t length);

private:
    bool Passes(std::uint32_t level) const { return m_enabled && (traceFilter & level) != 0; }
    void ReduceFileTag();

    const char* m_fileTag;
    const char* m_functionTag;
    std::uint32_t m_line;
    bool m_enabled = true;
    bool m_fileTagReduced = false;
    [[maybe_unused]] std::uint32_t m_value = 32;  // part of the object's layout; never read
};

constexpr FunctionTag::FunctionTag(const char* signature) : text{} {
    const char* end = signature;
    // In a lambda the enclosing function's name ends at "(" with GCC and at "::<lambda" with MSVC.
    const auto lambda = [](const char* at) {
        return at[0] == ':' && at[1] == ':' && at[2] == '<' && at[3] == 'l';
    };
    for (int depth = 0; *end && !(depth == 0 && (*end == '(' || lambda(end))); ++end)
        depth += *end == '<' ? 1 : *end == '>' ? -1 : 0;
    const char* begin = end;
    int components = 0;
    for (int depth = 0; begin != signature; --begin) {
        const char c = begin[-1];
        depth += c == '>' ? 1 : c == '<' ? -1 : 0;
        if (depth == 0 && (c == ' ' || c == '*' || c == '&' || c == '}'))
            break;
        if (depth == 0 && c == ':' && begin[0] == ':' && ++components == 2) {
            ++begin;
            break;
        }
    }
    while (*begin == ':')
        ++begin;
    for (std::size_t i = 0; begin != end && i + 1 < sizeof(text); ++i)
        text[i] = *begin++;
}

}  // namespace DiagTools

#if defined(_MSC_VER) && !defined(__clang__)
#define DT_SIGNATURE __FUNCTION__
#else
#define DT_SIGNATURE __PRETTY_FUNCTION__
#endif

// Each source file defines its tag as kTraceFile. These macros add the line and the function.
#define DT_FUNCTION() static constexpr DiagTools::FunctionTag dtTag_(DT_SIGNATURE)
#define DT_HERE kTraceFile, __LINE__, dtTag_.text

// level: a TraceLevel without its namespace. If the level is off, the arguments are not evaluated
// and the client is not called.
#define DT_WHEN_ON(level, operation)                            \
    do {                                                        \
        if ((DiagTools::traceFilter & DiagTools::level) != 0) { \
            DT_FUNCTION();                                      \
            DiagTools::CDiagTraceInfo dtInfo_(DT_HERE);         \
            dtInfo_.operation;                                  \
        }                                                       \
    } while (false)

#define DT_TRACE(level, ...) DT_WHEN_ON(level, operator()(DiagTools::level, __VA_ARGS__))
#define DT_TRACE_TEXT(level, text) DT_WHEN_ON(level, TraceText(DiagTools::level, (text)))
#define DT_TRACE_BUFFER(level, data, bytes) \
    DT_WHEN_ON(level, TraceBuffer(DiagTools::level, (data), (bytes)))
