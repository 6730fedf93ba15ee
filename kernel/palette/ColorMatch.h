// The nearest palette entry.
//
// find_palette_index is the plain scan that defines the answer, ties included; everything faster
// (kernel/convert/PaletteMatch.h, kernel/convert/ColorLookup.h) gives the same index for every colour.
#pragma once

#include "Vkrecord.h"

#include <cstdint>

namespace vk {

/// Channel-order class of a colour: 4 when red < blue, plus 2 when green is below both or 1 when it is above both.
constexpr uint32_t channel_class(uint32_t red, uint32_t green, uint32_t blue) noexcept
{
    const uint32_t order = red < blue ? 4u : 0u;
    if (green < red && green < blue) {
        return order | 2u;
    }
    return green > red && green > blue ? order | 1u : order;
}

constexpr uint32_t channel_class(const RGBQUAD& entry) noexcept
{
    return channel_class(entry.rgbRed, entry.rgbGreen, entry.rgbBlue);
}

/// Squared distance between an entry and a colour.
constexpr uint32_t color_distance(const RGBQUAD& entry, uint32_t red, uint32_t green, uint32_t blue) noexcept
{
    const int32_t dr = entry.rgbRed - static_cast<int32_t>(red);
    const int32_t dg = entry.rgbGreen - static_cast<int32_t>(green);
    const int32_t db = entry.rgbBlue - static_cast<int32_t>(blue);
    return static_cast<uint32_t>(dr * dr + dg * dg + db * db);
}

/// The answer for pure black or white where an end of the palette holds it, else -1. `count` is not 0.
int32_t match_extreme(const RGBQUAD* entries, uint32_t count, uint8_t red, uint8_t green, uint8_t blue) noexcept;

/// Index of the nearest entry. Black and white are looked for at the palette's ends first. Of entries equally near the
/// first one wins, unless later ones have the colour's own channel-order class: then the last such one does; an exact
/// match ends the search. 0 without a palette, -1 without entries.
int32_t find_palette_index(const RGBQUAD* entries, uint32_t count, uint8_t red, uint8_t green, uint8_t blue) noexcept;

} // namespace vk
