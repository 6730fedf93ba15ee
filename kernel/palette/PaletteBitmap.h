// The palettes that bitmaps own.
#pragma once

#include "Vkrecord.h"

#include <cstdint>

namespace vk {

/// Gives the bitmap a palette that the library made, and frees the old one.
void put_palette(BITMAPHANDLE& bitmap, RGBQUAD* palette, uint32_t count) noexcept;

/// Frees the bitmap's palette and stores a copy of entries, which may be those of the very palette. FAILURE when no
/// copy can be made.
int set_new_palette(BITMAPHANDLE& bitmap, const RGBQUAD* entries, uint32_t count) noexcept;

/// A ramp for a bitmap of 1 to 8 bits; without memory the old palette stays.
int give_gray_palette(BITMAPHANDLE& bitmap) noexcept;

/// The fixed palette for the bitmap's number of colours; the old one is freed in any case. FAILURE when there is none.
int give_fixed_palette(BITMAPHANDLE& bitmap) noexcept;

/// True when the bitmap's palette begins with these colours, or one of the two is missing.
bool palette_starts_with(const BITMAPHANDLE& bitmap, const RGBQUAD* entries, uint32_t count) noexcept;

} // namespace vk
