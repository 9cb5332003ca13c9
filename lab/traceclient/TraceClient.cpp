// DTClient.dll: stand-in for the trace client library. Writes every trace call to DHCPLAB_TRACE.
//
// The entries use the C calling convention (on 64-bit Windows there is no other), narrow texts and
// 32-bit numbers. One module registers at a time, which is all that a program does with it.
#include <windows.h>

#include <cstdint>
#include <cstdlib>
#include <mutex>
#include <string>

#include "lab/journal/Environment.h"
#include "lab/journal/Journal.h"

namespace {

class TraceClient {
public:
    void* Register(HMODULE module, const char* path, const char* text1, const char* text2) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (!module || !path || !text1 || !text2)
            Misuse("DTRegisterModule with a null argument");
        if (m_isRegistered)
            Misuse("DTRegisterModule while registered");
        m_isRegistered = !m_failsToRegister;
        // The folder differs from machine to machine; the name is what can be compared.
        const std::string whole = path ? path : "";
        m_trace.AppendLine("register|" + lab::Escape(whole.substr(whole.find_last_of("\\/") + 1)) +
                           "|" + lab::Quoted(text1) + "|" + lab::Quoted(text2) +
                           (m_isRegistered ? "" : "|refused"));
        return m_isRegistered ? this : nullptr;
    }

    void Unregister(const void* registration) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (Knows(registration, "DTUnregisterModule")) {
            m_isRegistered = false;
            m_trace.AppendLine("unregister");
        }
    }

    /// `content` is already fit for a line.
    void Trace(const char* entry, const void* registration, const char* file, std::uint32_t line,
               const char* function, std::uint32_t level, bool isComplete,
               const std::string& content) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (!Knows(registration, entry))
            return;
        if (!file || !function || !isComplete) {
            Misuse(std::string(entry) + " with a null argument");
            return;
        }
        m_trace.AppendLine(std::to_string(level) + "|" + lab::Escape(std::string_view(file)) + "|" +
                           lab::Escape(std::string_view(function)) + "|" + std::to_string(line) +
                           "|" + content);
    }

    std::uint32_t Filter(const void* registration) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (!Knows(registration, "DTGetFilter"))
            return 0;
        if (m_countsFilterCalls)
            m_trace.AppendLine("filter");
        return m_mask;
    }

    void Misuse(const std::string& what) {
        lab::JournalMisuse("trace " + what);
        m_trace.AppendLine("MISUSE " + what);
    }

    /// Called when the DLL leaves; no lock, other threads are gone.
    void Leave() {
        if (m_isRegistered)
            Misuse("module left registered");
    }

private:
    bool Knows(const void* registration, const char* entry) {
        const bool isKnown = m_isRegistered && registration == this;
        if (!isKnown) {
            Misuse(std::string(entry) +
                   (m_isRegistered ? " with an unknown registration" : " without a registration"));
        }
        return isKnown;
    }

    static std::uint32_t MaskFromEnvironment() {
        const std::wstring text = lab::EnvironmentText(L"DHCPLAB_TRACE_MASK");
        return text.empty() ? 0xFFFFFFFF
                            : static_cast<std::uint32_t>(std::wcstoul(text.c_str(), nullptr, 0));
    }

    const lab::AppendFile m_trace{lab::EnvironmentText(L"DHCPLAB_TRACE")};
    const std::uint32_t m_mask = MaskFromEnvironment();
    const bool m_failsToRegister = lab::EnvironmentText(L"DHCPLAB_TRACE_FAIL") == L"register";
    const bool m_countsFilterCalls = lab::EnvironmentText(L"DHCPLAB_TRACE_COUNT") == L"1";
    std::mutex m_mutex;
    bool m_isRegistered = false;
};

TraceClient& Client() {
    static TraceClient client;
    return client;
}

std::string HexBytes(const unsigned char* bytes, std::uint32_t length) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string out;
    for (std::uint32_t i = 0; bytes && i < length; ++i) {
        out += kDigits[bytes[i] >> 4];
        out += kDigits[bytes[i] & 0xF];
    }
    return out;
}

}  // namespace

extern "C" {

void* DTRegisterModule(HMODULE module, const char* path, const char* text1, const char* text2) {
    return Client().Register(module, path, text1, text2);
}

void DTUnregisterModule(void* registration) {
    Client().Unregister(registration);
}

void DTTraceStr(void* registration, const char* file, std::uint32_t line, const char* function,
                std::uint32_t level, std::uint32_t, std::uint32_t, const char* text) {
    Client().Trace("DTTraceStr", registration, file, line, function, level, text != nullptr,
                   text ? lab::Escape(std::string_view(text)) : std::string());
}

void DTTraceBuffer(void* registration, const char* file, std::uint32_t line, const char* function,
                   std::uint32_t level, std::uint32_t, std::uint32_t, const void* buffer,
                   std::uint32_t length) {
    Client().Trace("DTTraceBuffer", registration, file, line, function, level, buffer != nullptr,
                   "buffer " + std::to_string(length) + " " +
                       HexBytes(static_cast<const unsigned char*>(buffer), length));
}

std::uint32_t DTGetFilter(void* registration) {
    return Client().Filter(registration);
}

// The program looks these two up and never calls them.
void DTTraceID() {
    Client().Misuse("DTTraceID called");
}
void DTPersistence() {
    Client().Misuse("DTPersistence called");
}

}  // extern "C"

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void*) {
    if (reason == DLL_PROCESS_DETACH)
        Client().Leave();
    return TRUE;
}
