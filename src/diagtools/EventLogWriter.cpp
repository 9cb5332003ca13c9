#include "diagtools/EventLogWriter.h"

#include <memory>

#include "diagtools/AnsiText.h"
#include "diagtools/ModulePath.h"

namespace DiagTools {
namespace {

constexpr std::size_t kMaxTextBytes = 31839;  // limit of one insertion text

struct EventSourceClose {
    using pointer = HANDLE;
    void operator()(HANDLE source) const noexcept { ::DeregisterEventSource(source); }
};
using EventSource = std::unique_ptr<HANDLE, EventSourceClose>;

std::string& Source() {
    static std::string name;
    return name;
}

}  // namespace

void CEventLogWriter::Initialize(HMODULE module, const char* sourceName) {
    ModulePath path;
    if (!sourceName)
        GetModulePath(module, path);
    Source() = sourceName ? sourceName : path.fileName.substr(0, path.fileName.rfind('.'));
}

const std::string& CEventLogWriter::SourceName() {
    return Source();
}

void CEventLogWriter::Report(WORD type, DWORD eventId, const char* text) {
    if (Source().empty() || !text)
        return;
    const EventSource source(::RegisterEventSourceA(nullptr, Source().c_str()));
    if (!source)
        return;
    const std::string whole(text, WholeCharacters(text, kMaxTextBytes));
    const char* insertion = whole.c_str();
    ::ReportEventA(source.get(), type, 0, eventId, nullptr, 1, 0, &insertion, nullptr);
}

}  // namespace DiagTools
