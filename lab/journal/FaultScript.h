// Faults that a rehearsal plans: which call of which function answers which error.
//
// The file named by DHCPLAB_FAULTS holds one fault a line:
//     DhcpCreateSubnet #2 = 20052      the second call of that function
//     put_Value * = 0x80004005         every call
//     any #7 = 1722                    the seventh call of any function that can be scripted
// Empty lines and lines that begin with '#' say nothing. The first line that fits a call decides.
// A line that cannot be read is journalled as misuse: a typing error must not pass for success.
#pragma once

#include <windows.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lab {

/// The lines of a fault script, without any count of calls.
class FaultScript {
public:
    /// Reads the lines; `errors` receives one text for each that is not understood.
    FaultScript(std::string_view text, std::vector<std::string>& errors);

    bool IsEmpty() const { return m_faults.empty(); }

    /// The code planned for the callOfFunction-th call of the function (from 1), which is the
    /// callOfAny-th call of all.
    std::optional<DWORD> Find(std::string_view function, std::uint64_t callOfFunction,
                              std::uint64_t callOfAny) const;

private:
    struct Fault {
        std::size_t line;      // decides which of two fitting faults comes first
        std::uint64_t number;  // which call; 0: every call
        DWORD code;
    };
    // By function, so that a script for one of them costs the others one look-up.
    std::map<std::string, std::vector<Fault>, std::less<>> m_faults;
};

/// Counts a call of the function and tells the code it has to answer instead of doing its work.
///
/// The script is read once per DLL. Calls are counted per process, in named memory that every
/// stand-in of the process shares and that outlives the unloading of a DLL: "any" counts across
/// the DLLs, and a component that is loaded a second time goes on counting.
std::optional<DWORD> FaultFor(const char* function);

}  // namespace lab
