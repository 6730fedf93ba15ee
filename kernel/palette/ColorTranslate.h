// Colour values carried from one bitmap to another.
#pragma once

#include "Vkrecord.h"

#include <cstdint>

namespace vk {

/// Index of the entry that the platform holds nearest; 0 without a palette.
uint32_t nearest_object_index(const BITMAPHANDLE& bitmap, COLORREF color) noexcept;

/// V_TranslateBitmapColor for a destination that is checked.
COLORREF translate_color(const BITMAPHANDLE& dst, const BITMAPHANDLE* src, COLORREF color) noexcept;

} // namespace vk
