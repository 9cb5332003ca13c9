#include "diagtools/EventLogWriter.h"

namespace DiagTools {

// Nothing is written yet; the call keeps its place in the start-up order.
void CEventLogWriter::Initialize(HMODULE, const char*) {}

}  // namespace DiagTools
