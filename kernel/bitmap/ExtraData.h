// The block a caller may hang on a record.
#pragma once

#include "Vkrecord.h"

#include <cstdint>

namespace vk {

/// Replaces the block by a new clear one. SUCCESS, or ERROR_NO_MEMORY with the old block still there.
int allocate_extra_data(BITMAPHANDLE& bitmap, uint64_t bytes) noexcept;

void free_extra_data(BITMAPHANDLE& bitmap) noexcept;

} // namespace vk
