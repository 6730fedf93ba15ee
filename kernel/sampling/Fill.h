// The pixel that stands where a picture does not reach.
#pragma once

#include "Vkrecord.h"

#include <cstdint>

namespace vk::sampling {

/// Packed as a row's first pixel, and as a number where pixels are indices or no whole bytes.
struct FillPixel {
    uint8_t packed[8] = {};
    uint32_t value = 0;
};

/// A fill colour in the bitmap's form.
FillPixel fill_pixel(const BITMAPHANDLE& bitmap, COLORREF color) noexcept;

} // namespace vk::sampling
