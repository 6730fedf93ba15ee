// Moves an unlocked block to a new address, for test builds: whoever kept the old one reads poison.
//
// Linked with the fault layer only. The system decides where a block lives, so the block is emptied, fillers take the
// place it left, and it is filled again, until it lives elsewhere. The thread that unlocked the block is taken to be
// its only user: a lock by another thread in between would see an empty block.
#include "platform/win32/Win32.h"

#include <cstdlib>
#include <cstring>

namespace vk::backend {

namespace {

/// After so many attempts a block stays where it is.
constexpr int kFillers = 8;

/// Empties the block and makes it as big as before; its address, where nothing is locked, or null.
void* reallocate(HGLOBAL block, size_t bytes) noexcept
{
    if (GlobalReAlloc(block, 0, GMEM_MOVEABLE) == nullptr || GlobalReAlloc(block, bytes, GMEM_MOVEABLE) == nullptr)
        return nullptr;
    void* data = GlobalLock(block);
    GlobalUnlock(block);
    return data;
}

} // namespace

void movable_relocate(void* handle) noexcept
{
    const size_t bytes = GlobalSize(handle);
    if (bytes == 0 || (GlobalFlags(handle) & (GMEM_INVALID_HANDLE | GMEM_LOCKCOUNT)) != 0)
        return;
    void* old = GlobalLock(handle);
    if (old == handle) // fixed
        return;
    void* saved = std::malloc(bytes);
    if (saved == nullptr) {
        GlobalUnlock(handle);
        return;
    }
    std::memcpy(saved, old, bytes);
    std::memset(old, 0xDD, bytes);
    GlobalUnlock(handle);

    void* fillers[kFillers] = {};
    void* data = reallocate(handle, bytes);
    for (int i = 0; i < kFillers && data == old; ++i) {
        GlobalReAlloc(handle, 0, GMEM_MOVEABLE);
        fillers[i] = HeapAlloc(GetProcessHeap(), 0, bytes); // where global blocks live
        data = reallocate(handle, bytes);
    }
    for (void* filler : fillers) {
        if (filler != nullptr)
            HeapFree(GetProcessHeap(), 0, filler);
    }
    if (data == nullptr)
        data = reallocate(handle, bytes); // the fillers' memory is free again
    if (data == nullptr)
        std::abort(); // the contents have nowhere to go; in a test program that is the end
    std::memcpy(data, saved, bytes);
    std::free(saved);
}

} // namespace vk::backend
