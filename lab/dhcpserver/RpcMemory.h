// The memory that calls hand to their caller, block by block as the remote procedure stub does.
#pragma once

#include <windows.h>

#include <string_view>
#include <unordered_set>

#include "lab/dhcpserver/ServerState.h"

namespace lab {

/// A heap of its own that knows its live blocks. What is still live dies with it.
class RpcMemory {
public:
    RpcMemory();
    ~RpcMemory();
    RpcMemory(const RpcMemory&) = delete;
    RpcMemory& operator=(const RpcMemory&) = delete;

    /// Zeroed bytes.
    void* Allocate(std::size_t bytes);
    template <class Record>
    Record* Allocate() {
        return static_cast<Record*>(Allocate(sizeof(Record)));
    }
    /// Null for no text; an empty text is a block, too.
    WCHAR* Copy(const Text& text);
    BYTE* Copy(std::string_view bytes);

    /// Frees exactly this block, overwriting it first so that a later reader notices. False when
    /// the address is no live block.
    bool Free(void* block);

    std::size_t LiveBlocks() const { return m_live.size(); }

private:
    HANDLE m_heap;
    std::unordered_set<void*> m_live;
};

}  // namespace lab
