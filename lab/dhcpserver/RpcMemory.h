// The memory that calls hand to their caller, block by block as the remote procedure stub does.
#pragma once

#include <windows.h>

#include <cstring>
#include <new>
#include <string_view>
#include <unordered_set>

#include "lab/dhcpserver/ServerState.h"

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

}  // namespace lab
