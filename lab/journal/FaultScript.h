// Planned faults: which call of which function returns which error.
#pragma once

#include <windows.h>

namespace lab {

struct Fault {
    DWORD code = 0;  // 0: no fault
    bool isDone = false;

    /// True if the call only returns the code.
    bool IsRefusal() const { return code != 0 && !isDone; }
    /// Returns the result of a call that did its work: the planned code or, without one, `result`.
    template <class Code>
    Code After(Code result) const {
        return code ? static_cast<Code>(code) : result;
    }
};

/// Counts a call of the function and returns the fault that DHCPLAB_FAULTS (docs/lab.md) plans for
/// it. The counts are in <script>.counts, because all stand-ins and processes share them: each
/// netsh of a batch file is its own process. They restart when the script changes.
Fault FaultFor(const char* function);

}  // namespace lab
