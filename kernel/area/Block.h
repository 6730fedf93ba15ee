// An area in one block of memory of its own, as records own them (kernel/system/Blocks.h). Blocks of others, which may
// hang on the same field of a record, are told apart without reading what is no block.
#pragma once

#include "kernel/area/Area.h"

namespace vk {

/// A block that holds a copy of the area; null without memory. locked_block_free frees it.
void* make_area_block(const Area& area) noexcept;

/// True for a block that make_area_block made.
bool is_area_block(const void* block) noexcept;

/// The area of such a block.
Area area_of_block(const void* block) noexcept;

} // namespace vk
