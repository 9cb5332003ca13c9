#pragma once

#include <windows.h>

#include <cstdint>

namespace DiagTools {

/// Statistics of traced modules, kept for tools that watch running processes.
class CModuleStatistics {
public:
    static void Initialize(HMODULE module);
    /// Counts one trace line of this level.
    static void CountTraceLine(std::uint32_t level);
};

}  // namespace DiagTools
