#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "win/RuntimeLibrary.h"

namespace DiagTools {

/// Process-wide filter: a line of level L is traced only if bit L is set. Initially 255; each
/// CDiagTraceInfo constructor refreshes it from the trace client.
extern std::uint32_t traceFilter;

/// The trace client library. DTTraceID and DTPersistence must be exported but are never called.
class CTraceClient : public CRuntimeLibrary {
public:
    // The default search order, PATH included: the gateway may install the library anywhere.
    CTraceClient() : CRuntimeLibrary("DTClient.dll", 0) {}

    CEntry<void*(HMODULE module, const char* modulePath, const char* text1, const char* text2)>
        RegisterModule{*this, "DTRegisterModule"};
    CEntry<void(void* registration, const char* file, std::uint32_t line, const char* function,
                std::uint32_t level, std::uint32_t reserved1, std::uint32_t reserved2,
                const char* text)>
        TraceStr{*this, "DTTraceStr"};
    CEntry<void()> TraceID{*this, "DTTraceID"};
    CEntry<void(void* registration, const char* file, std::uint32_t line, const char* function,
                std::uint32_t level, std::uint32_t reserved1, std::uint32_t reserved2,
                const void* buffer, std::uint32_t bytes)>
        TraceBuffer{*this, "DTTraceBuffer"};
    CEntry<void(void* registration)> UnregisterModule{*this, "DTUnregisterModule"};
    CEntry<void()> Persistence{*this, "DTPersistence"};
    CEntry<std::uint32_t(void* registration)> GetFilter{*this, "DTGetFilter"};
};

/// Passes trace lines to the trace client library, which it loads on first use. Without the
/// library, lines are dropped. Faults of this layer go to DT.LOG and never reach the caller;
/// nothing throws. For one thread only: there is no lock.
class CDiagTrace {
public:
    /// Created on first use, destroyed at process exit.
    static CDiagTrace& Instance();
    virtual ~CDiagTrace();
    CDiagTrace(const CDiagTrace&) = delete;
    CDiagTrace& operator=(const CDiagTrace&) = delete;

    /// Remembers the module, copies both texts, loads the library and registers the module.
    void Register(HMODULE module, const char* text1, const char* text2);
    /// Returns the client's mask with bits 1, 2 and 256 forced on; only these without a client.
    std::uint32_t GetFilter();
    void Trace(const char* file, std::uint32_t line, const char* function, std::uint32_t level,
               std::uint32_t reserved1, std::uint32_t reserved2, const char* text);
    void TraceBuffer(const char* file, std::uint32_t line, const char* function,
                     std::uint32_t level, std::uint32_t reserved1, std::uint32_t reserved2,
                     const void* buffer, std::size_t length);

private:
    CDiagTrace() = default;
    void LoadClient();
    void RegisterSavedModule();
    void LoadAndRegisterWhenNeeded();

    CTraceClient m_client;
    void* m_hRegMod = nullptr;  // opaque; set while the module is registered
    bool m_mayLoad = true;
    bool m_incomplete = false;  // has DTRegisterModule, but lacks a later entry
    HMODULE m_hSavedAppModuled = nullptr;
    std::string m_text1;
    std::string m_text2;
    ULONGLONG m_nextMissingModule = 0;  // milliseconds since system start
};

}  // namespace DiagTools
