// HRESULT checks: a failed result is traced with the text of the expression that returned it. This
// text is the source code itself, and log searches match it: do not rename anything inside, however
// clumsy. clang-format skips these macros; break a long call by hand after a comma (such a break
// reads as one blank).
#pragma once

#include <windows.h>

#include <exception>

#include "diagtools/DiagTraceInfo.h"

namespace DiagTools {

/// Traces a failed result at level 1 and returns it unchanged.
HRESULT CheckHResult(const char* file, std::uint32_t line, const char* function,
                     const char* expressionText, HRESULT hr);

}  // namespace DiagTools

#define LOG_IF_FAILED(...)                                             \
    do {                                                               \
        const HRESULT dtResult_ = (__VA_ARGS__);                       \
        if (FAILED(dtResult_)) {                                       \
            DT_FUNCTION();                                             \
            DiagTools::CheckHResult(DT_HERE, #__VA_ARGS__, dtResult_); \
        }                                                              \
    } while (false)

#define RETURN_IF_FAILED_AS(text, expression)                           \
    do {                                                                \
        const HRESULT dtResult_ = (expression);                         \
        if (FAILED(dtResult_)) {                                        \
            DT_FUNCTION();                                              \
            return DiagTools::CheckHResult(DT_HERE, (text), dtResult_); \
        }                                                               \
    } while (false)

#define RETURN_IF_FAILED(...) RETURN_IF_FAILED_AS(#__VA_ARGS__, (__VA_ARGS__))

#define TRACE_RECORD_LEFT_OUT(exception) \
    DT_TRACE(kTraceError, "Record left out, exception [%s]", (exception).what())

// Decision 0002. Goes after a try block in a loop over records: one bad record must not stop the
// rest. Traces the exception (out of memory, for example) at level 1.
#define CATCH_RECORD()                           \
    catch (const std::exception& dtException_) { \
        TRACE_RECORD_LEFT_OUT(dtException_);     \
    }

// The same, but rethrows if the records must be complete, as in a batch file.
#define CATCH_RECORD_UNLESS(complete)            \
    catch (const std::exception& dtException_) { \
        if (complete)                            \
            throw;                               \
        TRACE_RECORD_LEFT_OUT(dtException_);     \
    }
