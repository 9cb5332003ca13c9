// One process's connection with the server: what every call of the API does around its rules, and
// the memory that calls hand out, block by block as the remote procedure stub does.
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

/// A heap of its own that knows its live blocks. What is still live dies with it.
class RpcMemory {
public:
    RpcMemory() = default;
    ~RpcMemory() { ::HeapDestroy(m_heap); }
    RpcMemory(const RpcMemory&) = delete;
    RpcMemory& operator=(const RpcMemory&) = delete;

    /// Zeroed bytes.
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
    /// Null for no text; an empty text is a block, too.
    WCHAR* Copy(const Text& text) {
        const std::size_t bytes = text ? (text->size() + 1) * sizeof(WCHAR) : 0;
        return text ? static_cast<WCHAR*>(std::memcpy(Allocate(bytes), text->c_str(), bytes))
                    : nullptr;
    }

    /// Frees exactly this block, overwriting it first so that a later reader notices. False when
    /// the address is no live block.
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
    /// Journals the blocks that the program did not free, and leaves the state in one file.
    ~DhcpServer() {
        if (m_memory.LiveBlocks() > 0)
            JournalMisuse("blocks not freed: " + std::to_string(m_memory.LiveBlocks()));
        Guarded([this] { return m_state.Close(), DWORD{0}; });
    }

    /// Answers one call by the rules, or with the planned fault: the rules then run only for one
    /// that is planned as done, and never for a call with output, which a lost answer does not
    /// bring. The journal's line has `arguments`, which begin with a blank, the code, and what
    /// `output` tells after the rules ran.
    DWORD Call(const char* function, const WCHAR* server, const std::string& arguments,
               const Rules& rules, const Output& output = nullptr) {
        const std::lock_guard<std::mutex> hold(m_lock);
        // The API would take its own machine: never what this program means.
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

    /// Only for use inside of a call's rules.
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
