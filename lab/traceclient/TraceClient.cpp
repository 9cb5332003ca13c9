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
        const std::lock_guard<std::mutex> lock(mutex_);
        if (!module || !path || !text1 || !text2) {
            Misuse("DTRegisterModule with a null argument");
        }
        if (isRegistered_) {
            Misuse("DTRegisterModule while registered");
        }
        isRegistered_ = !failsToRegister_;
        // The folder differs from machine to machine; the name is what can be compared.
        const std::string whole = path ? path : "";
        trace_.AppendLine("register|" + lab::Escape(whole.substr(whole.find_last_of("\\/") + 1)) +
                          "|" + lab::Quoted(text1) + "|" + lab::Quoted(text2) +
                          (isRegistered_ ? "" : "|refused"));
        return isRegistered_ ? this : nullptr;
    }

    void Unregister(const void* registration) {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (Knows(registration, "DTUnregisterModule")) {
            isRegistered_ = false;
            trace_.AppendLine("unregister");
        }
    }

    /// `content` is already fit for a line.
    void Trace(const char* entry, const void* registration, const char* file, uint32_t line,
               const char* function, uint32_t level, bool isComplete, const std::string& content) {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (!Knows(registration, entry)) {
            return;
        }
        if (!file || !function || !isComplete) {
            Misuse(std::string(entry) + " with a null argument");
            return;
        }
        trace_.AppendLine(std::to_string(level) + "|" + lab::Escape(std::string_view(file)) + "|" +
                          lab::Escape(std::string_view(function)) + "|" + std::to_string(line) +
                          "|" + content);
    }

    uint32_t Filter(const void* registration) {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (!Knows(registration, "DTGetFilter")) {
            return 0;
        }
        if (countsFilterCalls_) {
            trace_.AppendLine("filter");
        }
        return mask_;
    }

    void Misuse(const std::string& what) {
        lab::JournalMisuse("trace " + what);
        trace_.AppendLine("MISUSE " + what);
    }

    /// Called when the DLL leaves; no lock, other threads are gone.
    void Leave() {
        if (isRegistered_) {
            Misuse("module left registered");
        }
    }

private:
    bool Knows(const void* registration, const char* entry) {
        const bool isKnown = isRegistered_ && registration == this;
        if (!isKnown) {
            Misuse(std::string(entry) +
                   (isRegistered_ ? " with an unknown registration" : " without a registration"));
        }
        return isKnown;
    }

    static uint32_t MaskFromEnvironment() {
        const std::wstring text = lab::EnvironmentText(L"DHCPLAB_TRACE_MASK");
        return text.empty() ? 0xFFFFFFFF
                            : static_cast<uint32_t>(std::wcstoul(text.c_str(), nullptr, 0));
    }

    const lab::AppendFile trace_{lab::EnvironmentText(L"DHCPLAB_TRACE")};
    const uint32_t mask_ = MaskFromEnvironment();
    const bool failsToRegister_ = lab::EnvironmentText(L"DHCPLAB_TRACE_FAIL") == L"register";
    const bool countsFilterCalls_ = lab::EnvironmentText(L"DHCPLAB_TRACE_COUNT") == L"1";
    std::mutex mutex_;
    bool isRegistered_ = false;
};

TraceClient& Client() {
    static TraceClient client;
    return client;
}

std::string HexBytes(const unsigned char* bytes, uint32_t length) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string out;
    for (uint32_t i = 0; bytes && i < length; ++i) {
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

void DTTraceStr(void* registration, const char* file, uint32_t line, const char* function,
                uint32_t level, uint32_t, uint32_t, const char* text) {
    Client().Trace("DTTraceStr", registration, file, line, function, level, text != nullptr,
                   text ? lab::Escape(std::string_view(text)) : std::string());
}

void DTTraceBuffer(void* registration, const char* file, uint32_t line, const char* function,
                   uint32_t level, uint32_t, uint32_t, const void* buffer, uint32_t length) {
    Client().Trace("DTTraceBuffer", registration, file, line, function, level, buffer != nullptr,
                   "buffer " + std::to_string(length) + " " +
                       HexBytes(static_cast<const unsigned char*>(buffer), length));
}

uint32_t DTGetFilter(void* registration) {
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
    if (reason == DLL_PROCESS_DETACH) {
        Client().Leave();
    }
    return TRUE;
}
