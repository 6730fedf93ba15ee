// What the pixels of a bitmap mean: depth, colour order, palette and significant gray bits, taken from its record once.
#pragma once

#include "Vkrecord.h"
#include "kernel/format/GrayRange.h"
#include "kernel/palette/Palette.h"

#include <cstdint>

namespace vk::combine {

struct PixelForm {
    int32_t bits = 0;
    int32_t order = 0;
    GrayRange gray;                           ///< of deep gray samples
    uint32_t colors = 0;                      ///< entries that may be matched, up to 8 bits per pixel
    RGBQUAD palette[kMaxPaletteEntries] = {}; ///< all that the depth can index; those past `colors` are black

    bool indexed() const noexcept { return bits <= 8; }
    /// 8-bit samples that are gray levels, whatever palette there is.
    bool gray_levels() const noexcept { return bits == 8 && order == COLORORDER_GRAY; }
    bool deep_gray() const noexcept { return bits > 8 && order == COLORORDER_GRAY; }
    bool has_alpha() const noexcept { return bits == 64 || (bits == 32 && order != COLORORDER_GRAY); }
    /// All bits of a deep gray sample count.
    bool full_range() const noexcept { return gray.shift == 0 && gray.high_bit() == bits - 1; }
};

PixelForm form_of(const BITMAPHANDLE& bitmap) noexcept;

/// Colours of 8-bit channels with alpha, blue first; and 8-bit gray levels.
PixelForm color_form() noexcept;
PixelForm gray_form() noexcept;

/// True when equal pixels of the two mean the same.
bool same_form(const PixelForm& a, const PixelForm& b) noexcept;

} // namespace vk::combine
