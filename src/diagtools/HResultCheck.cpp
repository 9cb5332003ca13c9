#include "diagtools/HResultCheck.h"

namespace DiagTools {

HRESULT CheckHResult(const char* file, std::uint32_t line, const char* function,
                     const char* expressionText, HRESULT hr) {
    if ((traceFilter & kTraceError) != 0)
        CDiagTraceInfo(file, line, function)(
            kTraceError, "HRESULT Failed, Err Code [%#08lX].\nExecuted code: %s",
            static_cast<unsigned long>(hr), expressionText);
    return hr;
}

}  // namespace DiagTools
