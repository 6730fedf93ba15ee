// Movable global memory for systems that have none, with the results of the Windows calls.
//
// Every handle is looked up in the table first, so that a null, stale or foreign one gives the failure result. A locked
// block keeps its address; one that shrinks while locked keeps its room and may grow into it again. As on Windows, an
// empty movable block has no data and cannot be locked, and unlocking a fixed block does nothing and gives 1.
#include "platform/posix/MovableTable.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace vk::backend {

using posix::Block;
using posix::TableLock;

namespace {

// The flags of Vktypes.h, which this layer does not include.
constexpr uint32_t kMoveable = 0x0002;
constexpr uint32_t kZeroInit = 0x0040;
constexpr uint32_t kModify = 0x0080;
constexpr uint32_t kDiscarded = 0x4000; ///< an empty movable block
constexpr uint32_t kInvalidHandle = 0x8000;
constexpr uint8_t kMaxLocks = 0xFF;

/// Makes a movable block that is not locked empty, or refuses.
void* discard(Block& block, void* handle, uint32_t flags) noexcept
{
    if (block.data == nullptr)
        return handle;
    if (block.locks != 0 || (flags & kMoveable) == 0)
        return nullptr;
    void* old = block.data;
    table_set_data(block, nullptr, 0);
    std::free(old);
    return handle;
}

/// Changes the size without moving, within what the block has room for.
bool resize_in_place(Block& block, size_t bytes, bool zero) noexcept
{
    if (bytes > block.capacity)
        return false;
    if (zero && bytes > block.bytes)
        std::memset(static_cast<uint8_t*>(block.data) + block.bytes, 0, bytes - block.bytes);
    block.bytes = bytes;
    return true;
}

/// Changes the size, moving the data when need be. Others cannot take in the old address before the table has the new
/// one: that needs the lock.
bool resize_moving(Block& block, size_t bytes, bool zero) noexcept
{
    void* data = std::realloc(block.data, std::max<size_t>(bytes, 1));
    if (data == nullptr)
        return false;
    if (zero && bytes > block.bytes)
        std::memset(static_cast<uint8_t*>(data) + block.bytes, 0, bytes - block.bytes);
    table_set_data(block, data, bytes);
    return true;
}

} // namespace

void* movable_alloc(uint32_t flags, size_t bytes) noexcept
{
    const bool movable = (flags & kMoveable) != 0;
    void* data = nullptr;
    if (bytes != 0 || !movable) {
        const size_t size = std::max<size_t>(bytes, 1);
        data = (flags & kZeroInit) != 0 ? std::calloc(1, size) : std::malloc(size);
        if (data == nullptr)
            return nullptr;
    }
    void* handle = nullptr;
    {
        TableLock lock;
        handle = posix::table_add(movable, data, bytes);
    }
    if (handle == nullptr)
        std::free(data);
    return handle;
}

void* movable_realloc(void* handle, size_t bytes, uint32_t flags) noexcept
{
    TableLock lock;
    Block* block = posix::table_find(handle);
    if (block == nullptr)
        return nullptr;
    if ((flags & kModify) != 0) // changes attributes only, of which this layer keeps none
        return handle;
    if (block->movable && bytes == 0)
        return discard(*block, handle, flags);
    const bool zero = (flags & kZeroInit) != 0;
    const bool may_move = block->movable ? block->locks == 0 : (flags & kMoveable) != 0;
    const bool done = may_move ? resize_moving(*block, bytes, zero) : resize_in_place(*block, bytes, zero);
    return done ? posix::table_handle(*block) : nullptr;
}

void* movable_lock(void* handle) noexcept
{
    TableLock lock;
    Block* block = posix::table_find(handle);
    if (block == nullptr)
        return nullptr;
    if (block->movable && block->data != nullptr && block->locks < kMaxLocks)
        ++block->locks;
    return block->data;
}

int movable_unlock(void* handle) noexcept
{
    TableLock lock;
    Block* block = posix::table_find(handle);
    if (block == nullptr)
        return 0;
    if (!block->movable)
        return 1;
    if (block->locks == 0)
        return 0;
    return --block->locks != 0 ? 1 : 0;
}

void* movable_free(void* handle) noexcept
{
    void* data = nullptr;
    {
        TableLock lock;
        Block* block = posix::table_find(handle);
        if (block == nullptr)
            return handle;
        data = block->data;
        posix::table_remove(*block);
    }
    std::free(data);
    return nullptr;
}

size_t movable_size(void* handle) noexcept
{
    TableLock lock;
    const Block* block = posix::table_find(handle);
    return block == nullptr ? 0 : block->bytes;
}

void* movable_handle(const void* data) noexcept
{
    TableLock lock;
    const Block* block = posix::table_find_data(data);
    return block == nullptr ? nullptr : posix::table_handle(*block);
}

uint32_t movable_flags(void* handle) noexcept
{
    TableLock lock;
    const Block* block = posix::table_find(handle);
    if (block == nullptr)
        return kInvalidHandle;
    const bool empty = block->movable && block->data == nullptr;
    return block->locks | (empty ? kDiscarded : 0);
}

} // namespace vk::backend
