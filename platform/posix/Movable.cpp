// Movable global memory for systems that have none, with the results of the Windows calls.
//
// Every handle is looked up in the table first, so that a null, stale or foreign one gives the failure result. A locked
// block keeps its address; one that shrinks while locked keeps its room and may grow into it again. As on Windows, an
// empty movable block has no data and cannot be locked, and unlocking a fixed block does nothing and gives 1. Big
// blocks are sections: their pages are large, which spares most faults of a first pass, and may come from stock.
#include "platform/posix/MovableTable.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace vk::backend {

using posix::Found;

namespace {

// The flags of Vktypes.h, which this layer does not include.
constexpr uint32_t kMoveable = 0x0002;
constexpr uint32_t kZeroInit = 0x0040;
constexpr uint32_t kModify = 0x0080;
constexpr uint32_t kDiscarded = 0x4000; ///< an empty movable block
constexpr uint32_t kInvalidHandle = 0x8000;
constexpr uint8_t kMaxLocks = 0xFF;

/// From this size on a block is a section.
constexpr size_t kBigBlock = size_t{2} << 20;

bool is_big(size_t capacity) noexcept
{
    return capacity >= kBigBlock;
}

void* resize_section(void* data, size_t capacity, size_t bytes) noexcept
{
    Section section{nullptr, data, capacity};
    return section_resize(&section, bytes) == Status::ok ? section.view : nullptr;
}

/// Makes a movable block that is not locked empty, or refuses.
void* discard(Found& block, void* handle, uint32_t flags) noexcept
{
    if (block->data == nullptr)
        return handle;
    if (block->locks != 0 || (flags & kMoveable) == 0)
        return nullptr;
    void* old = block->data;
    const size_t capacity = block->capacity;
    block.set_data(nullptr, 0, 0);
    block.let_go();
    posix::data_free(old, capacity);
    return handle;
}

/// Changes the size without moving, within what the block has room for.
bool resize_in_place(posix::Block& block, size_t bytes, bool zero) noexcept
{
    if (bytes > block.capacity)
        return false;
    if (zero && bytes > block.bytes)
        std::memset(static_cast<uint8_t*>(block.data) + block.bytes, 0, bytes - block.bytes);
    block.bytes = bytes;
    return true;
}

/// Changes the size, moving the data when need be. Meanwhile the block has none, so that others may take in the old
/// address. False when the block is as it was, or gone.
bool resize_moving(Found& block, size_t bytes, bool zero) noexcept
{
    void* const old = block->data;
    const size_t old_bytes = block->bytes;
    const size_t capacity = block->capacity;
    block.set_data(nullptr, 0, 0);
    block.let_go();
    void* const data = old == nullptr ? posix::data_alloc(bytes, false) : posix::data_resize(old, capacity, bytes);
    if (data != nullptr && zero && bytes > old_bytes)
        std::memset(static_cast<uint8_t*>(data) + old_bytes, 0, bytes - old_bytes);
    block.find_again();
    if (!block) { // its owner's mistake: freed on another thread
        posix::data_free(data != nullptr ? data : old, data != nullptr ? bytes : capacity);
        return false;
    }
    if (data != nullptr)
        block.set_data(data, bytes, bytes);
    else
        block.set_data(old, old_bytes, capacity);
    return data != nullptr;
}

} // namespace

void* posix::data_alloc(size_t capacity, bool zero) noexcept
{
    if (is_big(capacity)) {
        Section section;
        const Contents contents = zero ? Contents::zeroed : Contents::unspecified;
        return section_create(capacity, contents, &section) == Status::ok ? section.view : nullptr;
    }
    const size_t size = std::max<size_t>(capacity, 1);
    const auto get = [size, zero]() noexcept { return zero ? std::calloc(1, size) : std::malloc(size); };
    void* const data = get();
    return data == nullptr && stock_empty() ? get() : data;
}

void* posix::data_resize(void* data, size_t capacity, size_t bytes) noexcept
{
    if (is_big(capacity) && is_big(bytes))
        return resize_section(data, capacity, bytes);
    if (!is_big(capacity) && !is_big(bytes))
        return std::realloc(data, std::max<size_t>(bytes, 1));
    void* const other = data_alloc(bytes, false);
    if (other != nullptr) {
        std::memcpy(other, data, std::min(capacity, bytes));
        data_free(data, capacity);
    }
    return other;
}

void posix::data_free(void* data, size_t capacity) noexcept
{
    if (!is_big(capacity))
        return std::free(data);
    Section section{nullptr, data, capacity};
    section_free(&section);
}

void* movable_alloc(uint32_t flags, size_t bytes) noexcept
{
    const bool movable = (flags & kMoveable) != 0;
    void* data = nullptr;
    if (bytes != 0 || !movable) {
        data = posix::data_alloc(bytes, (flags & kZeroInit) != 0);
        if (data == nullptr)
            return nullptr;
    }
    void* const handle = posix::table_add(movable, data, bytes);
    if (handle == nullptr)
        posix::data_free(data, bytes);
    return handle;
}

void* movable_realloc(void* handle, size_t bytes, uint32_t flags) noexcept
{
    Found block = Found::by_handle(handle);
    if (!block)
        return nullptr;
    if ((flags & kModify) != 0) // changes attributes only, of which this layer keeps none
        return handle;
    if (block->movable && bytes == 0)
        return discard(block, handle, flags);
    const bool zero = (flags & kZeroInit) != 0;
    const bool may_move = block->movable ? block->locks == 0 : (flags & kMoveable) != 0;
    const bool done = may_move ? resize_moving(block, bytes, zero) : resize_in_place(*block, bytes, zero);
    return done ? block.handle() : nullptr;
}

void* movable_lock(void* handle) noexcept
{
    const Found block = Found::by_handle(handle);
    if (!block)
        return nullptr;
    if (block->movable && block->data != nullptr && block->locks < kMaxLocks)
        ++block->locks;
    return block->data;
}

int movable_unlock(void* handle) noexcept
{
    const Found block = Found::by_handle(handle);
    if (!block)
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
    size_t capacity = 0;
    {
        Found block = Found::by_handle(handle);
        if (!block)
            return handle;
        data = block->data;
        capacity = block->capacity;
        block.remove();
    }
    posix::data_free(data, capacity);
    return nullptr;
}

size_t movable_size(void* handle) noexcept
{
    const Found block = Found::by_handle(handle);
    return block ? block->bytes : 0;
}

void* movable_handle(const void* data) noexcept
{
    const Found block = Found::by_data(data);
    return block ? block.handle() : nullptr;
}

uint32_t movable_flags(void* handle) noexcept
{
    const Found block = Found::by_handle(handle);
    if (!block)
        return kInvalidHandle;
    const bool empty = block->movable && block->data == nullptr;
    return block->locks | (empty ? kDiscarded : 0);
}

} // namespace vk::backend
