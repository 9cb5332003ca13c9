#include "lab/dhcpserver/RpcMemory.h"

#include <cstring>
#include <new>

namespace lab {

RpcMemory::RpcMemory() : m_heap(::HeapCreate(0, 0, 0)) {}

RpcMemory::~RpcMemory() {
    ::HeapDestroy(m_heap);
}

void* RpcMemory::Allocate(std::size_t bytes) {
    void* const block = ::HeapAlloc(m_heap, HEAP_ZERO_MEMORY, bytes);
    if (!block)
        throw std::bad_alloc();
    m_live.insert(block);
    return block;
}

WCHAR* RpcMemory::Copy(const Text& text) {
    if (!text)
        return nullptr;
    const std::size_t bytes = (text->size() + 1) * sizeof(WCHAR);
    return static_cast<WCHAR*>(std::memcpy(Allocate(bytes), text->c_str(), bytes));
}

BYTE* RpcMemory::Copy(std::string_view bytes) {
    return static_cast<BYTE*>(std::memcpy(Allocate(bytes.size()), bytes.data(), bytes.size()));
}

bool RpcMemory::Free(void* block) {
    if (m_live.erase(block) == 0)
        return false;
    std::memset(block, 0xDD, ::HeapSize(m_heap, 0, block));
    ::HeapFree(m_heap, 0, block);
    return true;
}

}  // namespace lab
