#include <windows.h>

#include <exception>

#include "diagtools/DiagTraceInfo.h"
#include "diagtools/DiagTraceInfoRegister.h"
#include "diagtools/EventLogWriter.h"
#include "diagtools/ModuleStatistics.h"
#include "driver/DHCPCommandParser.h"

namespace {

constexpr char kTraceFile[] = "main";

/// Removes the current folder from the library search, because the tool runs elevated from any
/// folder. The system folder takes its place; it is searched anyway. (With an empty text, the
/// documented way, Wine still searches the current folder.)
void KeepCurrentFolderOutOfDllSearch() {
    char systemFolder[MAX_PATH];
    const UINT length = ::GetSystemDirectoryA(systemFolder, MAX_PATH);
    ::SetDllDirectoryA(length > 0 && length < MAX_PATH ? systemFolder : "");
}

}  // namespace

/// Always returns 0: installers treat any other exit code as a failed installation. Failures appear
/// in the messages and the trace.
int main(int argc, char** argv) {
    // A damaged library or an empty drive must not block an unattended run with a message box.
    ::SetErrorMode(::GetErrorMode() | SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX);
    // The first call allocates memory or aborts the program: better here than in a destructor.
    [[maybe_unused]] const volatile int none = std::uncaught_exceptions();
    KeepCurrentFolderOutOfDllSearch();
    const HMODULE module = ::GetModuleHandleA(nullptr);
    try {
        DiagTools::CDiagTraceInfoRegister().Register(module);
        DiagTools::CModuleStatistics::Initialize(module);
        DiagTools::CEventLogWriter::Initialize(module);
        CDHCPCommandParser().ExecuteCommands(argc, argv);
    } catch (const std::exception& escaped) {
        DT_TRACE(kTraceError, "Program ended by exception [%s]", escaped.what());
    } catch (...) {
        DT_TRACE(kTraceError, "Program ended by an unknown exception");
    }
    return 0;
}
