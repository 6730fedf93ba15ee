// A colour as one pixel of a bitmap, for everything that fills: opaque where there is alpha.
#pragma once

#include "Vkrecord.h"

namespace vk::combine {

/// The pixel as a row's first one, in whole bytes, up to 8 bits per pixel at the top of the byte.
struct FillColor {
    uint8_t packed[8] = {};
};

FillColor fill_color(const BITMAPHANDLE& bitmap, COLORREF color) noexcept;

} // namespace vk::combine
