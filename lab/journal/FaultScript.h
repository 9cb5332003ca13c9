// Faults that a rehearsal plans: which call of which function answers which error.
// docs/lab.md describes the file; a line that cannot be read is a misuse, since a typing error must
// not pass for success.
#pragma once

#include <windows.h>

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

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

/// The lines of a fault script, without any count of calls.
class FaultScript {
public:
    /// Reads the lines; `errors` receives one text for each that is not understood.
    FaultScript(std::string_view text, std::vector<std::string>& errors);

    bool IsEmpty() const { return m_lines.empty(); }

    /// The fault planned for the callOfFunction-th call of the function (from 1), which is the
    /// callOfAny-th call of all.
    Fault Find(std::string_view function, std::uint64_t callOfFunction,
               std::uint64_t callOfAny) const;

private:
    struct Planned {
        std::size_t line;      // decides which of two fitting lines comes first
        std::uint64_t number;  // which call; 0: every call
        Fault fault;
    };
    // By function, so that a script for one of them costs the others one look-up.
    std::map<std::string, std::vector<Planned>, std::less<>> m_lines;
};

/// Counts a call of the function and tells what is planned for it.
///
/// Calls are counted from the writing of the script on, over all stand-ins and processes: in a file
/// beside the script, <script>.counts, since each netsh of a batch file is a process of its own.
Fault FaultFor(const char* function);

}  // namespace lab
