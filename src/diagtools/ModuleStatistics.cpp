#include "diagtools/ModuleStatistics.h"

namespace DiagTools {

// Nothing is published yet; the call keeps its place in the start-up order.
void CModuleStatistics::Initialize(HMODULE) {}

void CModuleStatistics::CountTraceLine(std::uint32_t) {}

}  // namespace DiagTools
