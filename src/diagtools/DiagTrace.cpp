#include "diagtools/DiagTrace.h"

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

template <class Function>
bool Resolve(HMODULE module, const char* name, Function*& entry) {
    entry = reinterpret_cast<Function*>(reinterpret_cast<void*>(::GetProcAddress(module, name)));
    return entry != nullptr;
}

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

CDiagTrace::~CDiagTrace() {
    if (m_registered && m_pfnUnRegisterModule)
        m_pfnUnRegisterModule(m_hRegMod);
    Unload();
}

void CDiagTrace::Unload() {
    m_libraryReady = false;
    m_pfnTraceID = nullptr;
    m_pfnTraceStr = nullptr;
    m_pfnRegisterModule = nullptr;
    m_pfnTraceBuffer = nullptr;
    m_pfnUnRegisterModule = nullptr;
    m_pfnPersistence = nullptr;
    m_pfnGetFilter = nullptr;
    if (m_hModule)
        ::FreeLibrary(m_hModule);
    m_hModule = nullptr;
}

void CDiagTrace::LoadClient() {
    m_hModule = ::LoadLibraryA("DTClient.dll");
    if (!m_hModule) {
        m_mayLoad = false;
        const int error = LastError();
        if (m_loadFault.Allows())
            CInternalTrace::Write(
                "CDiagTrace::CDiagTrace HMODULE m_hModule = LoadLibrary(_T(\"DTClient.dll\")); "
                "Failed GetLastError Returned %d\n",
                error);
        return;
    }
    // Kept as released: the unregister entry is resolved as "DTUnregisterModule" but reported as
    // "DTUnRegisterModule"; whoever searches old logs finds this spelling.
    if (!Resolve(m_hModule, "DTRegisterModule", m_pfnRegisterModule))
        CInternalTrace::Write(
            "CDiagTrace::CDiagTrace m_pfnRegisterModule = "
            "(_DIAG_REGISTERMODULE)MyGetProcAddress(m_hModule, "
            "\"DTRegisterModule\"); Failed GetLastError Returned %d\n",
            LastError());
    else if (!Resolve(m_hModule, "DTTraceStr", m_pfnTraceStr))
        CInternalTrace::Write(
            "CDiagTrace::CDiagTrace m_pfnTraceStr = (_DIAG_TRACESTR)MyGetProcAddress(m_hModule, "
            "\"DTTraceStr\"); Failed GetLastError Returned %d\n",
            LastError());
    else if (!Resolve(m_hModule, "DTTraceID", m_pfnTraceID))
        CInternalTrace::Write(
            "CDiagTrace::CDiagTrace m_pfnTraceID = (_DIAG_TRACEID)MyGetProcAddress(m_hModule, "
            "\"DTTraceID\"); Failed GetLastError Returned %d\n",
            LastError());
    else if (!Resolve(m_hModule, "DTTraceBuffer", m_pfnTraceBuffer))
        CInternalTrace::Write(
            "CDiagTrace::CDiagTrace m_pfnTraceBuffer = "
            "(_DIAG_TRACEBUFFER)MyGetProcAddress(m_hModule, "
            "\"DTTraceBuffer\"); Failed GetLastError Returned %d\n",
            LastError());
    else if (!Resolve(m_hModule, "DTUnregisterModule", m_pfnUnRegisterModule))
        CInternalTrace::Write(
            "CDiagTrace::CDiagTrace m_pfnUnRegisterModule = "
            "(_DIAG_UNREGISTERMODULE)MyGetProcAddress(m_hModule, "
            "\"DTUnRegisterModule\"); Failed GetLastError Returned %d\n",
            LastError());
    else if (!Resolve(m_hModule, "DTPersistence", m_pfnPersistence))
        CInternalTrace::Write(
            "CDiagTrace::CDiagTrace m_pfnPersistence = "
            "(_DIAG_PERSISTENCE)MyGetProcAddress(m_hModule, "
            "\"DTPersistence\"); Failed GetLastError Returned %d\n",
            LastError());
    else if (!Resolve(m_hModule, "DTGetFilter", m_pfnGetFilter))
        CInternalTrace::Write(
            "CDiagTrace::CDiagTrace m_pfnGetFilter = (_DIAG_GETFILTER)MyGetProcAddress(m_hModule, "
            "\"DTGetFilter\"); Failed GetLastError Returned %d\n",
            LastError());
    else
        m_libraryReady = true;
    if (!m_libraryReady) {
        // An incomplete library is as good as none: nothing is handed to it, and it is not loaded
        // again for every line.
        m_incomplete = m_pfnRegisterModule != nullptr;
        Unload();
        m_mayLoad = false;
    }
}

void CDiagTrace::Register(HMODULE module, const char* text1, const char* text2) {
    m_hSavedAppModuled = module;
    m_text1 = text1 ? text1 : "";
    m_text2 = text2 ? text2 : "";
    RegisterSavedModule();
}

void CDiagTrace::RegisterSavedModule() {
    if (!m_libraryReady && m_mayLoad && m_hSavedAppModuled)
        LoadClient();
    if (m_incomplete)  // said already
        return;
    if (!m_hSavedAppModuled || !m_pfnRegisterModule) {
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
    m_hRegMod =
        m_pfnRegisterModule(m_hSavedAppModuled, modulePath, m_text1.c_str(), m_text2.c_str());
    m_registered = m_hRegMod != nullptr;
    if (!m_registered)
        CInternalTrace::Write(
            "CDiagTrace::Register m_hRegMod = (*m_pfnRegisterModule)(0, szModuleName); Failed "
            "GetLastError Returned %d\n",
            LastError());
}

void CDiagTrace::LoadAndRegisterWhenNeeded() {
    if (!m_libraryReady && m_mayLoad && m_hSavedAppModuled)
        RegisterSavedModule();
}

std::uint32_t CDiagTrace::GetFilter() {
    LoadAndRegisterWhenNeeded();
    return m_registered && m_pfnGetFilter ? m_pfnGetFilter(m_hRegMod) | kAlwaysOn : kAlwaysOn;
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
    if (m_registered && m_pfnTraceStr)
        m_pfnTraceStr(m_hRegMod, file, line, function, level, reserved1, reserved2, text);
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
    if (m_registered && m_pfnTraceBuffer)
        m_pfnTraceBuffer(m_hRegMod, file, line, function, level, reserved1, reserved2, buffer,
                         static_cast<std::uint32_t>(length));
}

}  // namespace DiagTools
