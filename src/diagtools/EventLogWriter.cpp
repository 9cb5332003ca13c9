#include "diagtools/EventLogWriter.h"

#include <memory>
#include <string>

#include "win/AnsiPath.h"

namespace DiagTools {
namespace {

struct EventSourceClose {
    using pointer = HANDLE;
    void operator()(HANDLE source) const noexcept { ::DeregisterEventSource(source); }
};

std::string source;  // empty before Initialize

}  // namespace

void CEventLogWriter::Initialize(HMODULE module) {
    ModulePath path;
    GetModulePath(module, path);
    source = path.fileName.substr(0, path.fileName.rfind('.'));
}

void CEventLogWriter::Report(WORD type, DWORD eventId, const char* text) {
    if (source.empty())
        return;
    const std::unique_ptr<HANDLE, EventSourceClose> log(
        ::RegisterEventSourceA(nullptr, source.c_str()));
    if (log)
        ::ReportEventA(log.get(), type, 0, eventId, nullptr, 1, 0, &text, nullptr);
}

}  // namespace DiagTools
