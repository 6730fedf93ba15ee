// How many different colours a bitmap has, exactly: by a bit for each colour where there are few enough that can be,
// else by a table of those found. What such a table cannot hold is left to later passes over the bitmap, so that memory
// stays bounded: the colours, as scrambled numbers, are divided into ranges, and each pass counts those of one range.
#pragma once

#include "Vkrecord.h"

#include <cstdint>

namespace vk {

/// Slots of the largest table, of 8 bytes each; there are two of them while one takes the place of the other.
constexpr uint32_t kMostSlots = 1u << 22;

/// Counts the colours of an allocated bitmap that check_rows accepts. `most_slots` is a power of two, at least 16.
int count_colors(BITMAPHANDLE& bitmap, uint64_t* colors, uint32_t most_slots = kMostSlots) noexcept;

} // namespace vk
