// Chosen pixels of a row.
#pragma once

#include "Vkrecord.h"
#include "Vkrows.h"

#include <cstdint>

namespace vk {

/// Replaces the pixels of `count` segments, which lie within the row, by those at the same places of a packed row.
/// Pixels replaced, or a negative code.
intptr_t put_segments(BITMAPHANDLE& bitmap, const uint8_t* row_in, int32_t row, const ROWSEGMENT* segments,
                      uint32_t count) noexcept;

} // namespace vk
