// Flip, reverse and quarter turn of what a bitmap shows, each with the progress that the exported function reports.
#pragma once

#include "Vkrecord.h"

namespace vk {

/// The stored rows in reverse order, overlays and region included.
int flip_bitmap(BITMAPHANDLE& bitmap) noexcept;

/// The stored pixels of each row in reverse order, overlays and region included.
int mirror_bitmap(BITMAPHANDLE& bitmap) noexcept;

/// What is shown turned by a quarter; overlays go along.
int quarter_turn_bitmap(BITMAPHANDLE& bitmap, bool clockwise) noexcept;

} // namespace vk
