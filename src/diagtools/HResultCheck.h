// The HRESULT check: a failed result is traced with the text of the expression that gave it.
//
// In the macros the text is the code itself: names inside of them are part of the log and are not
// to be changed, not even one that looks clumsy. clang-format is told to leave them alone; when a
// call needs a second line, break it by hand after a comma (a break there reads as one blank).
#pragma once

#include <windows.h>

#include <exception>

#include "diagtools/DiagTraceInfo.h"

namespace DiagTools {

/// Traces the failure at level 1 and returns it unchanged. For failed results only.
HRESULT CheckHResult(const char* file, std::uint32_t line, const char* function,
                     const char* expressionText, HRESULT hr);

}  // namespace DiagTools

#define LOG_IF_FAILED_AS(text, expression)                       \
    do {                                                         \
        const HRESULT dtResult_ = (expression);                  \
        if (FAILED(dtResult_)) {                                 \
            DT_FUNCTION();                                       \
            DiagTools::CheckHResult(DT_HERE, (text), dtResult_); \
        }                                                        \
    } while (false)

#define RETURN_IF_FAILED_AS(text, expression)                           \
    do {                                                                \
        const HRESULT dtResult_ = (expression);                         \
        if (FAILED(dtResult_)) {                                        \
            DT_FUNCTION();                                              \
            return DiagTools::CheckHResult(DT_HERE, (text), dtResult_); \
        }                                                               \
    } while (false)

#define LOG_IF_FAILED(...) LOG_IF_FAILED_AS(#__VA_ARGS__, (__VA_ARGS__))
#define RETURN_IF_FAILED(...) RETURN_IF_FAILED_AS(#__VA_ARGS__, (__VA_ARGS__))

// Decision 0002. One record's misfortune must not cost the others: what the statement throws
// (memory running out over a text of data, say) is traced at level 1 and the loop goes on.
#define CONTAIN_EXCEPTIONS(statement)                                           \
    do {                                                                        \
        try {                                                                   \
            statement;                                                          \
        } catch (const std::exception& dtException_) {                          \
            DT_TRACE(DiagTools::kTraceError, "Record left out, exception [%s]", \
                     dtException_.what());                                      \
        }                                                                       \
    } while (false)
