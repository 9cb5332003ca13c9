#include "diagtools/DiagTrace.h"

#include <cstring>

#include "diagtools/InternalTrace.h"
#include "diagtools/ModuleStatistics.h"

namespace DiagTools {
namespace {

constexpr std::uint32_t kAlwaysOn = 1 | 2 | 256;
constexpr ULONGLONG kFaultIntervalMs = 5000;

struct MissingEntry {
    const char* entry;
    void (*write)(int error);
};

// The DT.LOG line for each missing entry. Kept for compatibility: searches in old logs match the
// spelling "DTUnRegisterModule".
// clang-format off
#define MISSING_ENTRY(entry, fault) {entry, [](int error) { CInternalTrace::Write(fault, error); }}
constexpr MissingEntry kMissingEntries[] = {
    MISSING_ENTRY("DTRegisterModule", "CDiagTrace::CDiagTrace m_pfnRegisterModule = (_DIAG_REGISTERMODULE)MyGetProcAddress(m_hModule, \"DTRegisterModule\"); Failed GetLastError Returned %d\n"),
    MISSING_ENTRY("DTTraceStr", "CDiagTrace::CDiagTrace m_pfnTraceStr = (_DIAG_TRACESTR)MyGetProcAddress(m_hModule, \"DTTraceStr\"); Failed GetLastError Returned %d\n"),
    MISSING_ENTRY("DTTraceID", "CDiagTrace::CDiagTrace m_pfnTraceID = (_DIAG_TRACEID)MyGetProcAddress(m_hModule, \"DTTraceID\"); Failed GetLastError Returned %d\n"),
    MISSING_ENTRY("DTTraceBuffer", "CDiagTrace::CDiagTrace m_pfnTraceBuffer = (_DIAG_TRACEBUFFER)MyGetProcAddress(m_hModule, \"DTTraceBuffer\"); Failed GetLastError Returned %d\n"),
    MISSING_ENTRY("DTUnregisterModule", "CDiagTrace::CDiagTrace m_pfnUnRegisterModule = (_DIAG_UNREGISTERMODULE)MyGetProcAddress(m_hModule, \"DTUnRegisterModule\"); Failed GetLastError Returned %d\n"),
    MISSING_ENTRY("DTPersistence", "CDiagTrace::CDiagTrace m_pfnPersistence = (_DIAG_PERSISTENCE)MyGetProcAddress(m_hModule, \"DTPersistence\"); Failed GetLastError Returned %d\n"),
    MISSING_ENTRY("DTGetFilter", "CDiagTrace::CDiagTrace m_pfnGetFilter = (_DIAG_GETFILTER)MyGetProcAddress(m_hModule, \"DTGetFilter\"); Failed GetLastError Returned %d\n"),
};
// clang-format on
#undef MISSING_ENTRY

}  // namespace

std::uint32_t traceFilter = 255;

CDiagTrace& CDiagTrace::Instance() {
    static CDiagTrace instance;
    return instance;
}

CDiagTrace::~CDiagTrace() {
    if (m_hRegMod)
        m_client.UnregisterModule(m_hRegMod);
    m_client.Unload();
}

void CDiagTrace::LoadClient() {
    m_mayLoad = false;
    const DWORD error = m_client.Load();
    if (error == ERROR_SUCCESS)
        return;
    const char* const missing = m_client.MissingEntry();
    if (!missing)
        CInternalTrace::Write(
            "CDiagTrace::CDiagTrace HMODULE m_hModule = LoadLibrary(_T(\"DTClient.dll\")); "
            "Failed GetLastError Returned %d\n",
            static_cast<int>(error));
    for (const MissingEntry& row : kMissingEntries)
        if (missing && std::strcmp(row.entry, missing) == 0)
            row.write(static_cast<int>(error));
    // An incomplete library counts as missing: it gets no calls.
    m_incomplete = missing && std::strcmp(missing, kMissingEntries[0].entry) != 0;
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
    if (m_incomplete)  // LoadClient has logged the fault
        return;
    if (!m_hSavedAppModuled || m_client.Load() != ERROR_SUCCESS) {
        const ULONGLONG now = ::GetTickCount64();
        if (now >= m_nextMissingModule) {
            m_nextMissingModule = now + kFaultIntervalMs;
            CInternalTrace::Write("CDiagTrace::Register Receive hModule NULL\n");
        }
        return;
    }
    char modulePath[MAX_PATH] = "";
    if (!::GetModuleFileNameA(m_hSavedAppModuled, modulePath, MAX_PATH)) {
        CInternalTrace::Write(
            "CDiagTrace::Register if(!GetModuleFileName(m_hSavedAppModuled, szModuleName, "
            "MAX_PATH)) Failed GetLastError Returned %d\n",
            static_cast<int>(::GetLastError()));
        return;
    }
    m_hRegMod =
        m_client.RegisterModule(m_hSavedAppModuled, modulePath, m_text1.c_str(), m_text2.c_str());
    if (!m_hRegMod)
        CInternalTrace::Write(
            "CDiagTrace::Register m_hRegMod = (*m_pfnRegisterModule)(0, szModuleName); Failed "
            "GetLastError Returned %d\n",
            static_cast<int>(::GetLastError()));
}

void CDiagTrace::LoadAndRegisterWhenNeeded() {
    if (m_mayLoad && m_hSavedAppModuled)
        RegisterSavedModule();
}

std::uint32_t CDiagTrace::GetFilter() {
    LoadAndRegisterWhenNeeded();
    return m_hRegMod ? m_client.GetFilter(m_hRegMod) | kAlwaysOn : kAlwaysOn;
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
        m_client.TraceStr(m_hRegMod, file, line, function, level, reserved1, reserved2, text);
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
        m_client.TraceBuffer(m_hRegMod, file, line, function, level, reserved1, reserved2, buffer,
                             static_cast<std::uint32_t>(length));
}

}  // namespace DiagTools
