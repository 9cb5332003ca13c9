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
    WCHAR* const copy = Allocate<WCHAR>(text->size() + 1);
    std::memcpy(copy, text->c_str(), (text->size() + 1) * sizeof(WCHAR));
    return copy;
}

BYTE* RpcMemory::Copy(std::string_view bytes) {
    BYTE* const copy = Allocate<BYTE>(bytes.size());
    std::memcpy(copy, bytes.data(), bytes.size());
    return copy;
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
