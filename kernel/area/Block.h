// An area in one block of memory of its own, as records own them (kernel/system/Blocks.h). Blocks of others, which may
// hang on the same field of a record, are told apart without reading what is no block.
#pragma once

#include "kernel/area/Area.h"

namespace vk {

/// Bytes that a block with room for so many has: a header, the bands, the runs.
uint64_t area_block_bytes(uint64_t bands, uint64_t runs) noexcept;

/// Where the bands of a block stand.
AreaBand* bands_of_block(void* block) noexcept;

/// Makes the block in which an area stands, its runs behind room for some bands, a block of this kind.
void mark_area_block(void* block, const Area& area) noexcept;

/// A block that holds a copy of the area; null without memory. locked_block_free frees it.
void* make_area_block(const Area& area) noexcept;

/// True for a block that was marked.
bool is_area_block(const void* block) noexcept;

/// The area of such a block.
Area area_of_block(const void* block) noexcept;

} // namespace vk
