// The palettes of bitmaps: giving, copying and comparing them. A bitmap owns its palette, so whatever replaces one
// frees the old. Where an operation is described as freeing first, a failure leaves no palette; else it leaves the old
// one.
#include "kernel/palette/PaletteBitmap.h"

#include "kernel/palette/Palette.h"
#include "kernel/system/Blocks.h"

#include <algorithm>

namespace vk {
namespace {

constexpr RGBQUAD kBlackWhite[4] = {{0, 0, 0, 0}, {255, 255, 255, 0}, {0, 0, 0, 0}, {0, 0, 0, 0}};

void drop_palette(BITMAPHANDLE& bitmap) noexcept
{
    free_palette(bitmap.Palette);
    bitmap.Palette = nullptr;
}

/// The entries of the fixed palette for a number of colours; null when there is none. Four colours get the two-entry
/// table and two blacks, as documented.
const RGBQUAD* fixed_entries_for(uint32_t colors) noexcept
{
    if (colors == 2 || colors == 4) {
        return kBlackWhite;
    }
    for (int32_t bits = 3; bits <= 8; ++bits) {
        if (colors == 1u << bits) {
            return fixed_palette(bits);
        }
    }
    return nullptr;
}

} // namespace

void put_palette(BITMAPHANDLE& bitmap, RGBQUAD* palette, uint32_t count) noexcept
{
    drop_palette(bitmap);
    bitmap.Palette = palette;
    bitmap.Colors = count;
}

int set_new_palette(BITMAPHANDLE& bitmap, const RGBQUAD* entries, uint32_t count) noexcept
{
    const bool copies = entries != nullptr && count != 0 && count <= kMaxPaletteEntries;
    RGBQUAD* copy = copies ? new_palette(entries, count) : nullptr;
    if (copy == nullptr) {
        drop_palette(bitmap);
        return entries == nullptr ? V_SUCCESS : FAILURE;
    }
    put_palette(bitmap, copy, count);
    return V_SUCCESS;
}

int give_gray_palette(BITMAPHANDLE& bitmap) noexcept
{
    const int32_t bits = bitmap.BitsPerPixel;
    RGBQUAD* palette = new_gray_palette(bits);
    if (palette == nullptr) {
        return V_ERROR_NO_MEMORY;
    }
    put_palette(bitmap, palette, 1u << bits);
    return V_SUCCESS;
}

int give_fixed_palette(BITMAPHANDLE& bitmap) noexcept
{
    drop_palette(bitmap);
    const RGBQUAD* entries = fixed_entries_for(bitmap.Colors);
    if (entries == nullptr) {
        return FAILURE;
    }
    RGBQUAD* palette = new_palette(entries, bitmap.Colors);
    bitmap.Palette = palette;
    return palette != nullptr ? V_SUCCESS : V_ERROR_NO_MEMORY;
}

bool palette_starts_with(const BITMAPHANDLE& bitmap, const RGBQUAD* entries, uint32_t count) noexcept
{
    const RGBQUAD* own = bitmap.Palette;
    if (own == nullptr || entries == nullptr) {
        return true;
    }
    const uint32_t colors = held_entries(own, bitmap.Colors);
    return std::equal(own, own + std::min(count, colors), entries, [](const RGBQUAD& a, const RGBQUAD& b) noexcept {
        return a.rgbRed == b.rgbRed && a.rgbGreen == b.rgbGreen && a.rgbBlue == b.rgbBlue;
    });
}

} // namespace vk
