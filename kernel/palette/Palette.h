// The built-in palettes and palette memory.
//
// A palette is a plain array of RGBQUAD. The built-in ones are read-only constants; those the library makes are movable
// global memory that stays locked for as long as the palette lives. Palette_bitmap.cpp has the operations on records,
// ColorMatch.h the search for the nearest entry.
#pragma once

#include "Vkrecord.h"
#include "kernel/format/Depths.h"

#include <cstdint>

namespace vk {

/// Most entries a palette has.
constexpr uint32_t kMaxPaletteEntries = 256;
/// Gray ramps go further, for the samples that look-up tables are made for.
constexpr int32_t kMostGrayBits = 16;

/// The fixed palette of 1 to 8 bits, 1 << bits entries; null for other widths.
const RGBQUAD* fixed_palette(int32_t bits) noexcept;

/// The 256 grays: entry i is (i, i, i).
const RGBQUAD* gray_levels() noexcept;

/// The 216-colour cube and 40 black entries.
const RGBQUAD* netscape_palette() noexcept;

/// Entries of a bitmap's palette that may be looked at: those stated, but no more than its depth can index, which is
/// what a palette's block holds. 0 without a palette, and above 8 bits.
inline uint32_t palette_entries(const BITMAPHANDLE& bitmap) noexcept
{
    const int32_t bits = bitmap.BitsPerPixel;
    const uint32_t stated = bitmap.Colors;
    if (!bitmap.Palette || !is_indexed(bits))
        return 0;
    return stated < 1u << bits ? stated : 1u << bits;
}

/// New palettes; null without memory. `count` is 1 to 256, `bits` 1 to kMostGrayBits.
RGBQUAD* new_palette(const RGBQUAD* entries, uint32_t count) noexcept;
RGBQUAD* new_gray_palette(int32_t bits) noexcept;

/// Frees a palette made by one of the above. False when the block is none (null included); it is then left alone.
bool free_palette(RGBQUAD* palette) noexcept;

} // namespace vk
