// What the fill family's functions do, for records that check_rows accepts and requests that are checked. On failure
// the bitmap that is changed is as it was, and one that is made is empty but for StructSize.
#pragma once

#include "Vkfill.h"
#include "kernel/combine/Clip.h"

namespace vk::fill {

using combine::Area;
using combine::Corner;

int fill_area(BITMAPHANDLE& bitmap, const Area& area, COLORREF color) noexcept;
int fill_pattern(BITMAPHANDLE& bitmap, BITMAPHANDLE& pattern, Corner origin) noexcept;

/// Where a flood begins and what it does.
struct FloodRequest {
    Corner start;
    COLORREF color;
    COLORREF border;
    uint32_t tolerance;
    uint32_t flags; ///< FLOOD_ flags
};

int flood_bitmap(BITMAPHANDLE& bitmap, const FloodRequest& request) noexcept;

// AlphaBitmap.cpp; the bitmap whose alpha it is has some.

int get_alpha(BITMAPHANDLE& made, BITMAPHANDLE& source, uint32_t struct_size) noexcept;
int set_alpha(BITMAPHANDLE& bitmap, BITMAPHANDLE& alpha) noexcept;
int set_alpha_value(BITMAPHANDLE& bitmap, uint32_t alpha) noexcept;
/// Multiplies colours by alpha, or divides them by it.
int weigh_colors(BITMAPHANDLE& bitmap, bool is_division) noexcept;

// Scramble.cpp

/// Hides an area, or shows it again, which is the same.
int scramble_area(BITMAPHANDLE& bitmap, const Area& area, uint32_t key) noexcept;
/// A copy of a bitmap with an area scrambled.
int copy_scrambled(BITMAPHANDLE& made, BITMAPHANDLE& source, uint32_t struct_size, const Area& area,
                   uint32_t key) noexcept;

} // namespace vk::fill
