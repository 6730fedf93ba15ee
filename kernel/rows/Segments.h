// Chosen pixels of rows, to the bit.
#pragma once

#include "Vkrecord.h"
#include "Vkrows.h"

#include <cstdint>

namespace vk {

/// Copies pixels [first, end) of one packed row into the same place of another.
void copy_pixels(uint8_t* to, const uint8_t* from, int32_t bits, uint32_t first, uint32_t end) noexcept;

/// Replaces the pixels of `count` segments, which lie within the row, by those at the same places of a packed row, as
/// far as they are inside the region. Pixels replaced, or a negative code.
intptr_t put_segments(BITMAPHANDLE& bitmap, const uint8_t* row_in, int32_t row, const ROWSEGMENT* segments,
                      uint32_t count) noexcept;

} // namespace vk
