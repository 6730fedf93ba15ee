// Blocks of memory that a record owns: movable global memory that is kept locked, so that its address can stand in the
// record while any holder of the address can still find the block.
#pragma once

#include "platform/platform.h"

#include <cstddef>
#include <cstdint>

namespace vk {

/// A locked block; null without memory.
void* locked_block_alloc(size_t bytes, Contents contents = Contents::zeroed) noexcept;

/// Unlocks and frees a block by its address. False when the address is not that of a block.
bool locked_block_free(void* block) noexcept;

/// Bytes of a block that may be looked at: those that a record states, but no more than there are where the block is
/// one of ours. A caller's own memory is believed.
uint64_t held_bytes(const void* block, uint64_t stated) noexcept;

/// The same in entries of a table.
template <class Entry> uint32_t held_entries(const Entry* table, uint32_t stated) noexcept
{
    return static_cast<uint32_t>(held_bytes(table, uint64_t{stated} * sizeof(Entry)) / sizeof(Entry));
}

} // namespace vk
