// Faults that a rehearsal plans: which call of which function answers which error.
#pragma once

#include <windows.h>

namespace lab {

struct Fault {
    DWORD code = 0;  // 0: no fault
    bool isDone = false;

    /// The call answers the code instead of doing anything.
    bool IsRefusal() const { return code != 0 && !isDone; }
    /// What a call answers that has done its work with this result.
    template <class Code>
    Code After(Code result) const {
        return code ? static_cast<Code>(code) : result;
    }
};

/// Counts a call of the function and returns what DHCPLAB_FAULTS (docs/lab.md) plans for it.
///
/// Calls are counted from the writing of the script on, over all stand-ins and processes: in a file
/// beside the script, <script>.counts, since each netsh of a batch file is a process of its own.
Fault FaultFor(const char* function);

}  // namespace lab
