// Colour values between bitmaps. A colour value has its form in the top byte: 0x01 a palette index in the low 16 bits,
// 0x04 a gray level in bits 8-15, else a colour. Nearest entries here are the platform's choice
// (V_GetNearestPaletteIndex).
#include "kernel/palette/ColorTranslate.h"

#include "kernel/palette/ColorMatch.h"
#include "kernel/palette/Palette.h"
#include "kernel/system/Blocks.h"
#include "kernel/system/Checks.h"
#include "platform/display.h"

#include <algorithm>

namespace vk {
namespace {

constexpr COLORREF kIndexForm = 0x01000000u;
constexpr uint32_t kIndexByte = 0x01;
constexpr uint32_t kGrayByte = 0x04;
constexpr uint32_t kMostLutEntries = 65535;

constexpr uint8_t red_of(COLORREF color) noexcept
{
    return static_cast<uint8_t>(color);
}
constexpr uint8_t green_of(COLORREF color) noexcept
{
    return static_cast<uint8_t>(color >> 8);
}
constexpr uint8_t blue_of(COLORREF color) noexcept
{
    return static_cast<uint8_t>(color >> 16);
}

constexpr COLORREF color_of(const RGBQUAD& entry) noexcept
{
    return entry.rgbRed | static_cast<COLORREF>(entry.rgbGreen) << 8 | static_cast<COLORREF>(entry.rgbBlue) << 16;
}

constexpr COLORREF index_form(uint32_t index) noexcept
{
    return kIndexForm | (index & 0xFFFFu);
}

bool is_indexed(const BITMAPHANDLE& bitmap) noexcept
{
    return bitmap.BitsPerPixel <= kMostIndexBits;
}

/// What a platform's object would most likely say, for when there is no memory for one.
uint32_t nearest_entry(const RGBQUAD* entries, uint32_t count, COLORREF color) noexcept
{
    const auto distance = [color](const RGBQUAD& entry) noexcept {
        const int red = entry.rgbRed - red_of(color), green = entry.rgbGreen - green_of(color);
        const int blue = entry.rgbBlue - blue_of(color);
        return red * red + green * green + blue * blue;
    };
    const RGBQUAD* const nearest =
        std::min_element(entries, entries + count, [&distance](const RGBQUAD& a, const RGBQUAD& b) noexcept {
            return distance(a) < distance(b);
        });
    return static_cast<uint32_t>(nearest - entries);
}

/// The colour of a palette index; false when the bitmap has no such entry.
bool entry_color(const BITMAPHANDLE* bitmap, uint32_t index, COLORREF* color) noexcept
{
    if (check_record(bitmap) != V_SUCCESS || !is_indexed(*bitmap) || bitmap->Palette == nullptr ||
        index >= palette_entries(*bitmap)) {
        return false;
    }
    *color = color_of(bitmap->Palette[index]);
    return true;
}

COLORREF translate_value(const BITMAPHANDLE& dst, COLORREF color) noexcept
{
    return is_indexed(dst) ? index_form(nearest_object_index(dst, color)) : color;
}

COLORREF translate_gray(const BITMAPHANDLE& dst, COLORREF color) noexcept
{
    if (dst.Order != COLORORDER_GRAY) {
        const COLORREF gray = green_of(color);
        return translate_value(dst, gray | gray << 8 | gray << 16);
    }
    if (dst.LUT == nullptr || (dst.Flags & BITMAPFLAG_USELUT) == 0) {
        return color;
    }
    const RGBQUAD* const table = dst.LUT;
    const uint32_t entries = std::min(held_entries(table, dst.LUTLength), kMostLutEntries);
    const int32_t index = find_palette_index(table, entries, red_of(color), green_of(color), blue_of(color));
    return index_form(static_cast<uint32_t>(index));
}

COLORREF translate_index(const BITMAPHANDLE& dst, const BITMAPHANDLE* src, COLORREF color) noexcept
{
    const uint32_t index = color & 0xFFFFu;
    COLORREF meant = 0;
    if (!entry_color(src, index, &meant)) {
        return is_indexed(dst) ? index_form(nearest_object_index(dst, 0)) : 0;
    }
    COLORREF same = 0;
    if (is_indexed(dst) && entry_color(&dst, index, &same) && same == meant) {
        return color;
    }
    return translate_value(dst, meant);
}

} // namespace

uint32_t nearest_object_index(const BITMAPHANDLE& bitmap, COLORREF color) noexcept
{
    const RGBQUAD* entries = bitmap.Palette;
    const uint32_t colors = held_entries(entries, bitmap.Colors);
    if (entries == nullptr || colors == 0 || colors > platform::kMaxObjectEntries) {
        return 0;
    }
    const HPALETTE palette = platform::palette_create(entries, colors);
    if (palette == nullptr) {
        return nearest_entry(entries, colors, color);
    }
    const uint32_t index = platform::palette_nearest(palette, color & 0x00FFFFFFu);
    platform::palette_delete(palette);
    return index;
}

COLORREF translate_color(const BITMAPHANDLE& dst, const BITMAPHANDLE* src, COLORREF color) noexcept
{
    switch (color >> 24) {
    case kGrayByte:
        return translate_gray(dst, color);
    case kIndexByte:
        return translate_index(dst, src, color);
    default:
        return translate_value(dst, color);
    }
}

} // namespace vk
