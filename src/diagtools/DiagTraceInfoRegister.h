#pragma once

#include "diagtools/DiagTrace.h"

namespace DiagTools {

/// Registers the program's module with the trace client. Must run before any other trace call.
class CDiagTraceInfoRegister {
public:
    virtual ~CDiagTraceInfoRegister() = default;

    /// Always returns 1: faults stay inside the trace layer.
    int Register(HMODULE module) {
        CDiagTrace::Instance().Register(module, "", "");
        return 1;
    }
};

}  // namespace DiagTools
