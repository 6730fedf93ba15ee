// Single pixels for the kernel itself.
#pragma once

#include "Vkrecord.h"

namespace vk {

constexpr COLORREF kNoColor = 0x80000000u;

/// V_GetPixelColor for a pixel inside an allocated bitmap.
COLORREF pixel_color(BITMAPHANDLE& bitmap, int32_t row, int32_t column) noexcept;

} // namespace vk
