// Fill colours: palette indices as they are, colours by the nearest entry or through the buffer converter.
#include "kernel/sampling/Fill.h"
#include "Vkconvert.h"
#include "kernel/colorres/GrayScale.h"
#include "kernel/convert/Convert.h"
#include "kernel/format/PackedBits.h"
#include "kernel/palette/ColorMatch.h"
#include "kernel/palette/Palette.h"

#include <algorithm>
#include <cstring>

namespace vk::sampling {

namespace {

constexpr uint32_t kIndexForm = 0x01;
constexpr uint32_t kGrayForm = 0x04;

struct Color {
    uint8_t red;
    uint8_t green;
    uint8_t blue;
};

Color color_of(COLORREF color) noexcept
{
    const auto red = static_cast<uint8_t>(color);
    const auto green = static_cast<uint8_t>(color >> 8);
    const auto blue = static_cast<uint8_t>(color >> 16);
    if (color >> 24 == kIndexForm)
        return {0, 0, 0}; // where there is no palette, an index means nothing
    return color >> 24 == kGrayForm ? Color{green, green, green} : Color{red, green, blue};
}

bool is_gray_levels(const BITMAPHANDLE& bitmap) noexcept
{
    return bitmap.BitsPerPixel == 8 && bitmap.Order == COLORORDER_GRAY;
}

uint32_t nearest_entry(const BITMAPHANDLE& bitmap, const Color& color) noexcept
{
    const RGBQUAD* const own = bitmap.Palette;
    const uint32_t most = 1u << bitmap.BitsPerPixel;
    const RGBQUAD* const entries = own ? own : fixed_palette(bitmap.BitsPerPixel);
    const uint32_t count = own ? palette_entries(bitmap) : most;
    return static_cast<uint32_t>(
        std::max(find_palette_index(entries, count, color.red, color.green, color.blue), int32_t{0}));
}

bool convert(const BITMAPHANDLE& bitmap, int32_t order, const Color& color, uint8_t (&packed)[8]) noexcept
{
    ConvertJob job;
    job.width = 1;
    job.src_bits = 24;
    job.src_order = COLORORDER_RGB;
    job.dst_bits = bitmap.BitsPerPixel;
    job.dst_order = order;
    if (is_deep_gray(bitmap) && order == COLORORDER_GRAY) {
        const GrayRange range = gray_range_of(bitmap);
        job.flags = CVT_DST_USE_BITS;
        job.low_bit = range.low_bit();
        job.high_bit = range.high_bit();
    }
    uint8_t pixel[8] = {color.red, color.green, color.blue};
    if (convert_buffer(pixel, job) != V_SUCCESS)
        return false;
    std::copy_n(pixel, sizeof packed, packed);
    return true;
}

/// Clears what is alpha, or no part of the pixel.
void clear_alpha(const BITMAPHANDLE& bitmap, uint8_t (&packed)[8]) noexcept
{
    const int32_t bits = bitmap.BitsPerPixel;
    const int32_t used = has_alpha(bits, bitmap.Order) ? bits / 4 * 3 : bits;
    std::fill(packed + (used + 7) / 8, packed + sizeof packed, uint8_t{0});
}

} // namespace

FillPixel fill_pixel(const BITMAPHANDLE& bitmap, COLORREF color) noexcept
{
    FillPixel fill;
    const int32_t bits = bitmap.BitsPerPixel;
    const bool is_index = color >> 24 == kIndexForm;
    if (is_indexed(bits) && (is_index || !is_gray_levels(bitmap))) {
        fill.value = is_index ? color & ((1u << bits) - 1) : nearest_entry(bitmap, color_of(color));
        insert_bits(fill.packed, bits, 0, fill.value);
        return fill;
    }
    // A record may name an order that its depth does not have; pixels can be turned all the same.
    if (!convert(bitmap, bitmap.Order, color_of(color), fill.packed))
        convert(bitmap, usual_order(bits), color_of(color), fill.packed);
    clear_alpha(bitmap, fill.packed);
    if (!is_whole_bytes(bits))
        fill.value = extract_bits(fill.packed, bits, 0);
    return fill;
}

} // namespace vk::sampling
