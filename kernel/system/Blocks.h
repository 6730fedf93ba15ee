// Blocks of memory that a record owns: movable global memory that is kept locked, so that its address can stand in the
// record while any holder of the address can still find the block.
#pragma once

#include <cstddef>

namespace vk {

/// A zeroed locked block; null without memory.
void* locked_block_alloc(size_t bytes) noexcept;

/// Unlocks and frees a block by its address. False when the address is not that of a block.
bool locked_block_free(void* block) noexcept;

} // namespace vk
