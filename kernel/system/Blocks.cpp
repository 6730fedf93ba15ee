#include "kernel/system/Blocks.h"

#include <algorithm>

namespace vk {

void* locked_block_alloc(size_t bytes, Contents contents) noexcept
{
    constexpr uint32_t kMoveable = 0x02;
    constexpr uint32_t kZeroed = 0x40;
    const uint32_t flags = kMoveable | (contents == Contents::zeroed ? kZeroed : 0);
    void* const handle = platform::movable_alloc(flags, bytes);
    if (!handle)
        return nullptr;
    void* const block = platform::movable_lock(handle);
    if (!block)
        platform::movable_free(handle);
    return block;
}

bool locked_block_free(void* block) noexcept
{
    void* const handle = block ? platform::movable_handle(block) : nullptr;
    if (!handle)
        return false;
    platform::movable_unlock(handle);
    return platform::movable_free(handle) == nullptr;
}

uint64_t held_bytes(const void* block, uint64_t stated) noexcept
{
    void* const handle = block ? platform::movable_handle(block) : nullptr;
    return handle ? std::min<uint64_t>(stated, platform::movable_size(handle)) : stated;
}

} // namespace vk
