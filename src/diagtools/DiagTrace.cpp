#include "diagtools/DiagTrace.h"

#include <iterator>

#include "diagtools/InternalTrace.h"
#include "diagtools/ModuleStatistics.h"

namespace DiagTools {
namespace {

constexpr std::uint32_t kAlwaysOn = 1 | 2 | 256;
constexpr ULONGLONG kFaultIntervalMs = 5000;

/// GetLastError as the fault lines print it.
int LastError() {
    return static_cast<int>(::GetLastError());
}

// The entries of DTClient.dll as this tool calls them.
using RegisterModuleFn = void*(HMODULE module, const char* modulePath, const char* text1,
                               const char* text2);
using UnregisterModuleFn = void(void* registration);
using TraceStrFn = void(void* registration, const char* file, std::uint32_t line,
                        const char* function, std::uint32_t level, std::uint32_t reserved1,
                        std::uint32_t reserved2, const char* text);
using TraceBufferFn = void(void* registration, const char* file, std::uint32_t line,
                           const char* function, std::uint32_t level, std::uint32_t reserved1,
                           std::uint32_t reserved2, const void* buffer, std::uint32_t bytes);
using GetFilterFn = std::uint32_t(void* registration);

constexpr const char* kClientEntries[] = {
    "DTRegisterModule",   "DTTraceStr",    "DTTraceID",   "DTTraceBuffer",
    "DTUnregisterModule", "DTPersistence", "DTGetFilter",
};

// What DT.LOG says of an entry that is missing. Kept as released: the entry "DTUnregisterModule" is
// written "DTUnRegisterModule"; whoever searches old logs finds this spelling.
constexpr void (*kWriteMissingEntry[])(int error) = {
    [](int error) {
        CInternalTrace::Write(
            "CDiagTrace::CDiagTrace m_pfnRegisterModule = "
            "(_DIAG_REGISTERMODULE)MyGetProcAddress(m_hModule, \"DTRegisterModule\"); Failed "
            "GetLastError "
            "Returned %d\n",
            error);
    },
    [](int error) {
        CInternalTrace::Write(
            "CDiagTrace::CDiagTrace m_pfnTraceStr = (_DIAG_TRACESTR)MyGetProcAddress(m_hModule, "
            "\"DTTraceStr\"); Failed GetLastError Returned %d\n",
            error);
    },
    [](int error) {
        CInternalTrace::Write(
            "CDiagTrace::CDiagTrace m_pfnTraceID = (_DIAG_TRACEID)MyGetProcAddress(m_hModule, "
            "\"DTTraceID\"); Failed GetLastError Returned %d\n",
            error);
    },
    [](int error) {
        CInternalTrace::Write(
            "CDiagTrace::CDiagTrace m_pfnTraceBuffer = "
            "(_DIAG_TRACEBUFFER)MyGetProcAddress(m_hModule, "
            "\"DTTraceBuffer\"); Failed GetLastError Returned %d\n",
            error);
    },
    [](int error) {
        CInternalTrace::Write(
            "CDiagTrace::CDiagTrace m_pfnUnRegisterModule = "
            "(_DIAG_UNREGISTERMODULE)MyGetProcAddress(m_hModule, \"DTUnRegisterModule\"); Failed "
            "GetLastError Returned %d\n",
            error);
    },
    [](int error) {
        CInternalTrace::Write(
            "CDiagTrace::CDiagTrace m_pfnPersistence = "
            "(_DIAG_PERSISTENCE)MyGetProcAddress(m_hModule, "
            "\"DTPersistence\"); Failed GetLastError Returned %d\n",
            error);
    },
    [](int error) {
        CInternalTrace::Write(
            "CDiagTrace::CDiagTrace m_pfnGetFilter = (_DIAG_GETFILTER)MyGetProcAddress(m_hModule, "
            "\"DTGetFilter\"); Failed GetLastError Returned %d\n",
            error);
    },
};
static_assert(std::size(kWriteMissingEntry) == std::size(kClientEntries));

}  // namespace

std::uint32_t traceFilter = 255;

bool CDiagTrace::Throttle::Allows() {
    const ULONGLONG now = ::GetTickCount64();
    if (m_used && now - m_lastTick < kFaultIntervalMs)
        return false;
    m_used = true;
    m_lastTick = now;
    return true;
}

CDiagTrace& CDiagTrace::Instance() {
    static CDiagTrace instance;
    return instance;
}

// Searched as any library is, the PATH included: the gateway puts its trace client where it likes.
CDiagTrace::CDiagTrace() : m_client("DTClient.dll", 0, kClientEntries) {}

CDiagTrace::~CDiagTrace() {
    if (m_hRegMod)
        m_client.Entry<UnregisterModuleFn>(kUnregisterModule)(m_hRegMod);
    m_client.Unload();
}

void CDiagTrace::LoadClient() {
    m_mayLoad = false;
    const DWORD error = m_client.Load();
    if (error == ERROR_SUCCESS)
        return;
    if (m_client.IsLoaded())
        kWriteMissingEntry[m_client.Found()](static_cast<int>(error));
    else if (m_loadFault.Allows())
        CInternalTrace::Write(
            "CDiagTrace::CDiagTrace HMODULE m_hModule = LoadLibrary(_T(\"DTClient.dll\")); "
            "Failed GetLastError Returned %d\n",
            static_cast<int>(error));
    // An incomplete library is as good as none: nothing is handed to it.
    m_incomplete = m_client.Found() > kRegisterModule;
    m_client.Unload();
}

void CDiagTrace::Register(HMODULE module, const char* text1, const char* text2) {
    m_hSavedAppModuled = module;
    m_text1 = text1 ? text1 : "";
    m_text2 = text2 ? text2 : "";
    RegisterSavedModule();
}

void CDiagTrace::RegisterSavedModule() {
    if (m_mayLoad && m_hSavedAppModuled)
        LoadClient();
    if (m_incomplete)  // LoadClient has written the fault
        return;
    if (!m_hSavedAppModuled || !IsReady()) {
        if (m_registerFault.Allows())
            CInternalTrace::Write("CDiagTrace::Register Receive hModule NULL\n");
        return;
    }
    char modulePath[MAX_PATH] = "";
    if (!::GetModuleFileNameA(m_hSavedAppModuled, modulePath, MAX_PATH)) {
        CInternalTrace::Write(
            "CDiagTrace::Register if(!GetModuleFileName(m_hSavedAppModuled, szModuleName, "
            "MAX_PATH)) Failed GetLastError Returned %d\n",
            LastError());
        return;
    }
    m_hRegMod = m_client.Entry<RegisterModuleFn>(kRegisterModule)(m_hSavedAppModuled, modulePath,
                                                                  m_text1.c_str(), m_text2.c_str());
    if (!m_hRegMod)
        CInternalTrace::Write(
            "CDiagTrace::Register m_hRegMod = (*m_pfnRegisterModule)(0, szModuleName); Failed "
            "GetLastError Returned %d\n",
            LastError());
}

void CDiagTrace::LoadAndRegisterWhenNeeded() {
    if (m_mayLoad && m_hSavedAppModuled)
        RegisterSavedModule();
}

std::uint32_t CDiagTrace::GetFilter() {
    LoadAndRegisterWhenNeeded();
    return m_hRegMod ? m_client.Entry<GetFilterFn>(kGetFilter)(m_hRegMod) | kAlwaysOn : kAlwaysOn;
}

void CDiagTrace::Trace(const char* file, std::uint32_t line, const char* function,
                       std::uint32_t level, std::uint32_t reserved1, std::uint32_t reserved2,
                       const char* text) {
    if (!file || !text) {
        CInternalTrace::Write(
            "CDiagTrace::Trace if((NULL == pszFile)||(NULL == pszTrace)) Failed\n");
        return;
    }
    LoadAndRegisterWhenNeeded();
    CModuleStatistics::CountTraceLine(level);
    if (m_hRegMod)
        m_client.Entry<TraceStrFn>(kTraceStr)(m_hRegMod, file, line, function, level, reserved1,
                                              reserved2, text);
}

void CDiagTrace::TraceBuffer(const char* file, std::uint32_t line, const char* function,
                             std::uint32_t level, std::uint32_t reserved1, std::uint32_t reserved2,
                             const void* buffer, std::size_t length) {
    if (!file || !buffer) {
        CInternalTrace::Write(" CDiagTrace::Trace if((NULL == pszFile)||(NULL == pBuf)) Failed\n");
        return;
    }
    LoadAndRegisterWhenNeeded();
    CModuleStatistics::CountTraceLine(level);
    if (m_hRegMod)
        m_client.Entry<TraceBufferFn>(kTraceBuffer)(m_hRegMod, file, line, function, level,
                                                    reserved1, reserved2, buffer,
                                                    static_cast<std::uint32_t>(length));
}

}  // namespace DiagTools
