// The table of global blocks behind posix/Movable.cpp; private to it and to the relocation for tests.
//
// A movable block's handle is made up of its slot, the slot's generation and a bit no address has, so a handle is never
// an address, and a stale one is recognised when its slot is used again. A fixed block's handle is its address. A hash
// of addresses finds a block by its data; empty movable blocks have none. The table is made of shards with a lock each,
// so that threads that make and free small bitmaps do not wait for each other.
#pragma once

#include "platform/platform.h"

#include <cstddef>
#include <cstdint>

namespace vk::backend::posix {

struct Block {
    void* data = nullptr; ///< null for an empty movable block
    size_t bytes = 0;
    size_t capacity = 0;     ///< bytes allocated: more than `bytes` after a locked block shrank
    uint32_t generation = 0; ///< of the slot's blocks so far
    uint32_t next_free = 0;
    uint8_t locks = 0;
    bool used = false;
    bool movable = false;
};

/// Memory of blocks: small ones from malloc, big ones as sections, whose pages are large. `capacity` is the size that
/// memory was last allocated or resized with. Resizing keeps the memory when it fails.
void* data_alloc(size_t capacity, bool zero) noexcept;
void* data_resize(void* data, size_t capacity, size_t bytes) noexcept;
void data_free(void* data, size_t capacity) noexcept;

struct Shard;

/// A block that was looked up, or none. Nobody else gets at the block until the look-up ends or lets go.
class Found {
public:
    /// The block of a handle.
    static Found by_handle(const void* handle) noexcept;
    /// The block whose data start at an address.
    static Found by_data(const void* data) noexcept;

    Found(Found&& other) noexcept;
    ~Found();
    Found(const Found&) = delete;
    Found& operator=(const Found&) = delete;

    explicit operator bool() const noexcept { return block_ != nullptr; }
    Block* operator->() const noexcept { return block_; }
    Block& operator*() const noexcept { return *block_; }

    void* handle() const noexcept;
    /// Gives the block other data. Never fails: the address table always has room for every block.
    void set_data(void* data, size_t bytes, size_t capacity) noexcept;
    /// Forgets the block; its data are the caller's again.
    void remove() noexcept;

    /// Ends the look-up early: memory is got and given back without the lock.
    void let_go() noexcept;
    /// Goes on with the same block, which must not have gone meanwhile: then there is none.
    void find_again() noexcept;

private:
    Found() noexcept = default;
    Found(Shard* shard, Block* block) noexcept;

    Shard* shard_ = nullptr; ///< of the block
    Block* block_ = nullptr; ///< null: none, and the shard's lock is not held
    uint32_t slot_ = 0;
    uint32_t generation_ = 0;
};

/// Takes in a block whose data the caller allocated; its handle, or null without memory (the data stay the caller's).
void* table_add(bool movable, void* data, size_t bytes) noexcept;
/// Gives the table's memory back where it holds no block. It may be used again.
void table_release() noexcept;

} // namespace vk::backend::posix
