// Areas of pixels that have something in common, read from a bitmap row by row.
#pragma once

#include "Vkrecord.h"
#include "kernel/area/Bits.h"

namespace vk {

/// Channels from the one value to the other, both included; or indices.
struct ColorRange {
    bool is_index = false;
    RGBQUAD lower = {};
    RGBQUAD upper = {};
    uint32_t first = 0;
    uint32_t last = 0;
};

/// Pixels whose colour, as V_GetPixelColor reads it, lies in a range. The bitmap is one that check_rows accepts; it is
/// accessed here. SUCCESS, ERROR_NO_MEMORY, or the failure of an access or a transfer.
int area_of_colors(BITMAPHANDLE& bitmap, const ColorRange& range, BitsToArea to) noexcept;

/// Pixels that are not 0; alpha does not count.
int area_of_nonzero(BITMAPHANDLE& bitmap, BitsToArea to) noexcept;

} // namespace vk
