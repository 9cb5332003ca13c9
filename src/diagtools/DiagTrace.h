#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "win/RuntimeLibrary.h"

namespace DiagTools {

/// Process-wide filter: a line of level L is written only when bit L is set. Starts with the bits 1
/// to 128; refreshed from the trace client whenever a CDiagTraceInfo is made.
extern std::uint32_t traceFilter;

/// The trace client library. "DTTraceID" and "DTPersistence" are never called, but a library
/// without them is incomplete.
class CTraceClient : public CRuntimeLibrary {
public:
    // Searched as any library is, PATH included: the gateway puts its trace client where it likes.
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

/// Hands trace lines to the trace client library, which is loaded when first needed. Without the
/// library lines are dropped; the layer's own faults go to "DT.LOG". Nothing throws and no fault
/// reaches the caller. For one thread: there is no lock.
class CDiagTrace {
public:
    /// Created on first use, destroyed at process exit.
    static CDiagTrace& Instance();
    virtual ~CDiagTrace();
    CDiagTrace(const CDiagTrace&) = delete;
    CDiagTrace& operator=(const CDiagTrace&) = delete;

    /// Remembers the module and both texts (copied), loads the library and registers the module.
    void Register(HMODULE module, const char* text1, const char* text2);
    /// The client's mask with the bits 1, 2 and 256 forced on; just these without a client.
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
    void WriteMissingModule();

    CTraceClient m_client;
    void* m_hRegMod = nullptr;  // opaque; set while the module is registered
    bool m_mayLoad = true;
    bool m_incomplete = false;  // it could register modules, but lacks a later entry
    HMODULE m_hSavedAppModuled = nullptr;
    std::string m_text1;
    std::string m_text2;
    ULONGLONG m_nextMissingModule = 0;  // milliseconds since system start
};

}  // namespace DiagTools
