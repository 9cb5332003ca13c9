// A process's connection to the server: the steps that all API calls share, and the memory that the
// calls return, in separate blocks like those of an RPC stub.
#pragma once

#include <windows.h>

#include <cstring>
#include <functional>
#include <mutex>
#include <new>
#include <string>
#include <string_view>
#include <unordered_set>

#include "lab/dhcpserver/ServerRules.h"
#include "lab/dhcpserver/StateFile.h"
#include "lab/journal/Environment.h"
#include "lab/journal/FaultScript.h"
#include "lab/journal/Journal.h"

namespace lab {

/// A private heap that knows its live blocks. Destroying it frees them.
class RpcMemory {
public:
    RpcMemory() = default;
    ~RpcMemory() { ::HeapDestroy(m_heap); }
    RpcMemory(const RpcMemory&) = delete;
    RpcMemory& operator=(const RpcMemory&) = delete;

    void* Allocate(std::size_t bytes) {
        void* const block = ::HeapAlloc(m_heap, HEAP_ZERO_MEMORY, bytes);
        if (!block)
            throw std::bad_alloc();
        m_live.insert(block);
        return block;
    }
    template <class Record>
    Record* Allocate() {
        return static_cast<Record*>(Allocate(sizeof(Record)));
    }
    BYTE* Copy(std::string_view bytes) {
        return static_cast<BYTE*>(std::memcpy(Allocate(bytes.size()), bytes.data(), bytes.size()));
    }
    /// Returns null if there is no text; an empty text gets a block, too.
    WCHAR* Copy(const Text& text) {
        const std::size_t bytes = text ? (text->size() + 1) * sizeof(WCHAR) : 0;
        return text ? static_cast<WCHAR*>(std::memcpy(Allocate(bytes), text->c_str(), bytes))
                    : nullptr;
    }

    /// Overwrites the block, so that a later read is noticed, and frees it. False if it is not
    /// live.
    bool Free(void* block) {
        if (m_live.erase(block) == 0)
            return false;
        std::memset(block, 0xDD, ::HeapSize(m_heap, 0, block));
        return ::HeapFree(m_heap, 0, block);
    }

    std::size_t LiveBlocks() const { return m_live.size(); }

private:
    const HANDLE m_heap = ::HeapCreate(0, 0, 0);
    std::unordered_set<void*> m_live;
};

class DhcpServer {
public:
    using Rules = std::function<DWORD(ServerRules&)>;
    using Output = std::function<std::string()>;

    DhcpServer() = default;
    ~DhcpServer() {
        if (m_memory.LiveBlocks() > 0)
            JournalMisuse("blocks not freed: " + std::to_string(m_memory.LiveBlocks()));
        Guarded([this] { return m_state.Close(), DWORD{0}; });
    }

    /// Executes one call: runs the rules or returns the planned fault. A fault planned as `done`
    /// also runs the rules, unless the call has output: a lost answer brings none. The journal gets
    /// `arguments` (with a leading blank), the code and, if the rules ran, `output`.
    DWORD Call(const char* function, const WCHAR* server, const std::string& arguments,
               const Rules& rules, const Output& output = nullptr) {
        const std::lock_guard<std::mutex> hold(m_lock);
        // For the API null means the local machine, which the program never means.
        if (!server)
            JournalMisuse(std::string(function) + ": null server");
        const Fault fault = FaultFor(function);
        const bool runs = !fault.IsRefusal() && !(fault.isDone && output);
        const DWORD code = fault.After(runs ? Run(server ? server : L"", rules) : DWORD{0});
        Journal(function + std::string(" server=") +
                (server ? Escape(std::wstring_view(server)) : "null") + arguments + " -> " +
                std::to_string(code) + (runs && output ? output() : ""));
        return code;
    }

    void Free(void* block) {
        const std::lock_guard<std::mutex> hold(m_lock);
        if (block && !m_memory.Free(block))
            JournalMisuse("DhcpRpcFreeMemory: no block of this server, or freed before");
        else if (m_journalFrees)
            Journal(block ? "DhcpRpcFreeMemory block" : "DhcpRpcFreeMemory null");
    }

    /// Use only inside a call's rules.
    RpcMemory& Memory() { return m_memory; }

private:
    DWORD Run(const WCHAR* server, const Rules& rules) {
        return Guarded([&] {
            return m_state.Run([&](ServerState& state) -> DWORD {
                ServerRules serverRules(state);
                return state.IsReachedBy(server) ? rules(serverRules) : RPC_S_SERVER_UNAVAILABLE;
            });
        });
    }
    template <class Work>
    static DWORD Guarded(const Work& work) {
        try {
            return work();
        } catch (const std::exception& error) {
            JournalMisuse(std::string("server state ") + Escape(error.what()));
            return kJetError;
        }
    }

    std::mutex m_lock;
    StateFile m_state{EnvironmentText(L"DHCPLAB_SERVER_STATE")};
    RpcMemory m_memory;
    const bool m_journalFrees = EnvironmentText(L"DHCPLAB_JOURNAL_FREES") != L"0";
};

}  // namespace lab
