// The table of global blocks behind posix/Movable.cpp; private to it and to the relocation for tests.
//
// A movable block's handle is made up of its slot, the slot's generation and a bit no address has, so a handle is never
// an address, and a stale one is recognised when its slot is used again. A fixed block's handle is its address. A hash
// of addresses finds a block by its data; empty movable blocks have none. Everything here is called with the lock held.
#pragma once

#include "platform/platform.h"

#include <cstddef>
#include <cstdint>

namespace vk::backend::posix {

struct Block {
    void* data = nullptr; ///< null for an empty movable block
    size_t bytes = 0;
    size_t capacity = 0;     ///< bytes allocated: more than `bytes` after a locked block shrank
    uint32_t generation = 0; ///< of the slot's movable blocks so far
    uint32_t next_free = 0;
    uint8_t locks = 0;
    bool used = false;
    bool movable = false;
};

/// Memory of blocks: small ones from malloc, big ones as sections, whose pages are large and come cleared. `capacity`
/// is the size that memory was last allocated or resized with. Resizing keeps the memory when it fails.
void* data_alloc(size_t capacity, bool zero) noexcept;
void* data_resize(void* data, size_t capacity, size_t bytes) noexcept;
void data_free(void* data, size_t capacity) noexcept;

/// Holds the table's lock while it lives.
class TableLock {
public:
    TableLock() noexcept;
    ~TableLock();
    TableLock(const TableLock&) = delete;
    TableLock& operator=(const TableLock&) = delete;
};

/// The block of a handle, or null. Valid until the next table_add.
Block* table_find(const void* handle) noexcept;
/// The block whose data start at an address, or null.
Block* table_find_data(const void* data) noexcept;
void* table_handle(const Block& block) noexcept;

/// Takes in a block whose data the caller allocated; its handle, or null without memory (the data stay the caller's).
void* table_add(bool movable, void* data, size_t bytes) noexcept;
/// Forgets a block; its data are the caller's again.
void table_remove(Block& block) noexcept;
/// Gives the table's memory back when it holds no block. It may be used again.
void table_release() noexcept;
/// Gives a block other data. Never fails: the address table always has room for every block.
void table_set_data(Block& block, void* data, size_t bytes) noexcept;

} // namespace vk::backend::posix
