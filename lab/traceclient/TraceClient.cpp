// DTClient.dll: stand-in for the trace client library. Writes every trace call to DHCPLAB_TRACE.
// The calling convention is C, the only one on 64-bit Windows. Texts are narrow, numbers have 32
// bits. Only one module can be registered at a time.
#include <windows.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

#include "lab/journal/Environment.h"
#include "lab/journal/Journal.h"

namespace {

using Number = std::uint32_t;
constexpr Number kAllLevels = 0xFFFFFFFF;
constexpr UINT kNoBoxes = 0x8001;  // SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX

std::atomic<bool> isRegistered{false};
constexpr char kRegistration = 0;  // its address is the registration

void TraceLine(const std::string& line) {
    static const lab::AppendFile file(lab::EnvironmentText(L"DHCPLAB_TRACE"));
    file.AppendLine(line);
}

void Misuse(const std::string& what) {
    lab::JournalMisuse("trace " + what);
    TraceLine("MISUSE " + what);
}

bool Knows(const void* registration, const std::string& entry) {
    const bool isKnown = isRegistered && registration == &kRegistration;
    if (!isKnown)
        Misuse(entry +
               (isRegistered ? " with an unknown registration" : " without a registration"));
    return isKnown;
}

std::string Narrow(const char* text) {
    return lab::Escape(std::string_view(text));
}

/// Ends a program that was started by hand beside the lab's dhcpsapi.dll, without a server state
/// and perhaps on a real gateway: it would change the store there for a server that does not exist.
/// Called first, because the program registers before it does anything else.
void EndOutsideOfALab() {
    std::wstring path(32768, L'\0');
    path.resize(::GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    const std::wstring server = path.substr(0, path.find_last_of(L'\\') + 1) + L"dhcpsapi.dll";
    if (!lab::EnvironmentText(L"DHCPLAB_SERVER_STATE").empty() ||
        ::GetFileAttributesW(server.c_str()) == INVALID_FILE_ATTRIBUTES)
        return;
    std::fputs(
        "The dhcpsapi.dll beside this program is a stand-in, and DHCPLAB_SERVER_STATE is not "
        "set: nothing was done.\n",
        stderr);
    std::fflush(stderr);
    ::TerminateProcess(::GetCurrentProcess(), 1);
}

/// content: already escaped. reserved: both reserved numbers combined, must be 0.
void Trace(const char* entry, const void* registration, const char* file, Number line,
           const char* function, Number level, Number reserved, const void* source,
           const std::string& content) {
    if (!Knows(registration, entry))
        return;
    if (!file || !function || !source || reserved != 0)
        Misuse(std::string(entry) + " with a null argument, or a reserved one filled");
    else
        TraceLine(std::to_string(level) + "|" + Narrow(file) + "|" + Narrow(function) + "|" +
                  std::to_string(line) + "|" + content);
}

}  // namespace

extern "C" {

void* DTRegisterModule(HMODULE module, const char* path, const char* text1, const char* text2) {
    EndOutsideOfALab();
    if (!module || !path || !text1 || !text2)
        Misuse("DTRegisterModule with a null argument");
    if ((::GetErrorMode() & kNoBoxes) != kNoBoxes)
        Misuse("DTRegisterModule in a process that may wait at a box of the system's");
    if (isRegistered)
        Misuse("DTRegisterModule while registered");
    isRegistered = lab::EnvironmentText(L"DHCPLAB_TRACE_FAIL") != L"register";
    // Only the file name, because the folder differs from machine to machine.
    const std::string whole = path ? path : "";
    TraceLine("register|" + lab::Escape(whole.substr(whole.find_last_of("\\/") + 1)) + "|" +
              lab::Quoted(text1) + "|" + lab::Quoted(text2) + (isRegistered ? "" : "|refused"));
    return isRegistered ? const_cast<char*>(&kRegistration) : nullptr;
}

void DTUnregisterModule(void* registration) {
    if (Knows(registration, "DTUnregisterModule")) {
        isRegistered = false;
        TraceLine("unregister");
    }
}

void DTTraceStr(void* registration, const char* file, Number line, const char* function,
                Number level, Number reserved1, Number reserved2, const char* text) {
    Trace("DTTraceStr", registration, file, line, function, level, reserved1 | reserved2, text,
          text ? Narrow(text) : "");
}

void DTTraceBuffer(void* registration, const char* file, Number line, const char* function,
                   Number level, Number reserved1, Number reserved2, const char* buffer,
                   Number length) {
    Trace("DTTraceBuffer", registration, file, line, function, level, reserved1 | reserved2, buffer,
          "buffer " + std::to_string(length) + " " +
              lab::HexBytes(std::string_view(buffer, buffer ? length : 0), ""));
}

Number DTGetFilter(void* registration) {
    static const bool countsCalls = lab::EnvironmentText(L"DHCPLAB_TRACE_COUNT") == L"1";
    static const auto mask =
        lab::ParseNumber(lab::EnvironmentText(L"DHCPLAB_TRACE_MASK"), kAllLevels);
    if (!Knows(registration, "DTGetFilter"))
        return 0;
    if (countsCalls)
        TraceLine("filter");
    return static_cast<Number>(mask.value_or(kAllLevels));
}

// The program looks up these two but never calls them.
void DTTraceID() {
    Misuse("DTTraceID called");
}
void DTPersistence() {
    Misuse("DTPersistence called");
}

}  // extern "C"

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void* atEndOfProcess) {
    if (reason == DLL_PROCESS_DETACH && (isRegistered || atEndOfProcess))
        Misuse("module left registered, or this library loaded");
    return TRUE;
}
