// The adapters of the machine that a rehearsal pretends to run on.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace lab {

struct LabAdapter {
    std::string name;         // narrow text in the ANSI code page, as the system call gives it
    std::string description;  // the same
    std::vector<std::pair<std::string, std::string>> addresses;  // address and mask, dotted
};

/// Reads a list of adapters from UTF-8 lines; `errors` gets a text for each that is not understood:
///     adapter <name>              begins an adapter; the rest of the line is its name
///     description <text>          of the adapter above; none makes it empty
///     address <address> <mask>    one more address of it
/// Empty lines and lines that begin with '#' say nothing.
std::vector<LabAdapter> ReadAdapters(std::string_view text, std::vector<std::string>& errors);

}  // namespace lab
