#include "lab/dhcpserver/RpcMemory.h"

#include <cstring>
#include <new>

namespace lab {

RpcMemory::RpcMemory() : heap_(::HeapCreate(0, 0, 0)) {}

RpcMemory::~RpcMemory() {
    ::HeapDestroy(heap_);
}

void* RpcMemory::Allocate(size_t bytes) {
    void* const block = ::HeapAlloc(heap_, HEAP_ZERO_MEMORY, bytes);
    if (!block) {
        throw std::bad_alloc();
    }
    live_.insert(block);
    return block;
}

WCHAR* RpcMemory::Copy(const Text& text) {
    if (!text) {
        return nullptr;
    }
    const size_t bytes = (text->size() + 1) * sizeof(WCHAR);
    return static_cast<WCHAR*>(std::memcpy(Allocate(bytes), text->c_str(), bytes));
}

BYTE* RpcMemory::Copy(std::string_view bytes) {
    return static_cast<BYTE*>(std::memcpy(Allocate(bytes.size()), bytes.data(), bytes.size()));
}

bool RpcMemory::Free(void* block) {
    if (live_.erase(block) == 0) {
        return false;
    }
    std::memset(block, 0xDD, ::HeapSize(heap_, 0, block));
    ::HeapFree(heap_, 0, block);
    return true;
}

}  // namespace lab
