#pragma once

#include "diagtools/DiagTrace.h"

namespace DiagTools {

/// Makes the process module known to the trace client, before anything else traces.
class CDiagTraceInfoRegister {
public:
    virtual ~CDiagTraceInfoRegister() = default;

    /// Always 1; faults are the trace layer's own affair.
    int Register(HMODULE module) {
        CDiagTrace::Instance().Register(module, "", "");
        return 1;
    }
};

}  // namespace DiagTools
