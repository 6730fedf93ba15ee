// Settling a change of colours: which depth and order, which palette, whether to dither.
#include "Vkcolorres.h"
#include "Vkdither.h"
#include "kernel/colorres/ColorRes.h"
#include "kernel/colorres/GrayScale.h"
#include "kernel/convert/Gray.h"
#include "kernel/format/Depths.h"
#include "kernel/palette/Palette.h"
#include "platform/display.h"

#include <algorithm>

namespace vk {

namespace {

constexpr uint32_t kAllFlags = COLORRES_ORDER_MASK | COLORRES_PALETTE_MASK | COLORRES_NODITHER;

/// The order that a flag names, among those of the depth.
int settle_order(int32_t bits, uint32_t flag, int32_t& order) noexcept
{
    order = flag == COLORRES_ORDER_DEFAULT ? usual_order(bits) : static_cast<int32_t>(flag) - 1;
    return has_order(bits, order) ? V_SUCCESS : V_ERROR_INVALID_PARAMETER;
}

int use_entries(ColorTarget& target, const RGBQUAD* entries, uint32_t count) noexcept
{
    if (count == 0 || count > 1u << target.bits)
        return V_ERROR_INVALID_PARAMETER;
    std::copy_n(entries, count, target.entries);
    target.count = count;
    return V_SUCCESS;
}

int use_object(ColorTarget& target, HPALETTE handle, uint32_t colors) noexcept
{
    RGBQUAD entries[kMaxPaletteEntries];
    const uint32_t held = platform::palette_size(handle);
    const uint32_t count = colors == 0 ? held : colors;
    if (count > held || count > kMaxPaletteEntries || platform::palette_read(handle, 0, count, entries) != count)
        return V_ERROR_INVALID_PARAMETER;
    for (RGBQUAD& entry : entries)
        entry.rgbReserved = 0; // the object's flags mean nothing to a bitmap
    return use_entries(target, entries, count);
}

int use_gray_ramp(ColorTarget& target) noexcept
{
    const uint32_t count = 1u << target.bits;
    for (uint32_t i = 0; i < count; ++i) {
        const auto level = static_cast<uint8_t>(i * 255 / (count - 1));
        target.entries[i] = {level, level, level, 0};
    }
    target.count = count;
    target.gray_ramp = true;
    return V_SUCCESS;
}

int use_optimized(ColorTarget& target, uint32_t colors) noexcept
{
    const uint32_t most = 1u << target.bits;
    target.count = colors == 0 ? most : colors;
    target.optimized = true;
    return target.count >= 2 && target.count <= most ? V_SUCCESS : V_ERROR_INVALID_PARAMETER;
}

int settle_default_palette(const ColorResRequest& request, ColorTarget& target) noexcept
{
    target.passed = request.palette || request.handle;
    if (request.palette)
        return use_entries(target, request.palette, request.colors == 0 ? 1u << target.bits : request.colors);
    if (request.handle)
        return use_object(target, request.handle, request.colors);
    return use_entries(target, fixed_palette(target.bits), 1u << target.bits);
}

int settle_palette(const ColorResRequest& request, ColorTarget& target) noexcept
{
    const uint32_t palette = request.flags & COLORRES_PALETTE_MASK;
    if ((request.flags & COLORRES_ORDER_MASK) == COLORRES_ORDER_GRAY && palette != COLORRES_PALETTE_GRAY)
        return palette == COLORRES_PALETTE_DEFAULT ? use_gray_ramp(target) : V_ERROR_INVALID_PARAMETER;
    switch (palette) {
    case COLORRES_PALETTE_DEFAULT:
        return settle_default_palette(request, target);
    case COLORRES_PALETTE_FIXED:
        return use_entries(target, fixed_palette(target.bits), 1u << target.bits);
    case COLORRES_PALETTE_GRAY:
        return use_gray_ramp(target);
    case COLORRES_PALETTE_CUBE:
        return target.bits == 8 ? use_entries(target, netscape_palette(), kMaxPaletteEntries)
                                : V_ERROR_INVALID_PARAMETER;
    case COLORRES_PALETTE_OPTIMIZED:
        return use_optimized(target, request.colors);
    default:
        return V_ERROR_INVALID_PARAMETER;
    }
}

bool same_color(const RGBQUAD& a, const RGBQUAD& b) noexcept
{
    return a.rgbRed == b.rgbRed && a.rgbGreen == b.rgbGreen && a.rgbBlue == b.rgbBlue;
}

} // namespace

int settle_target(const BITMAPHANDLE& source, const ColorResRequest& request, ColorTarget& target) noexcept
{
    if (request.flags & ~kAllFlags)
        return V_ERROR_INVALID_PARAMETER;
    ColorResRequest settled = request;
    if (request.bits == 0) {
        settled.bits = 8;
        settled.flags |= COLORRES_PALETTE_GRAY;
    }
    target.bits = settled.bits;
    if (!is_bitmap_depth(target.bits))
        return V_ERROR_INVALID_BITS_PER_PIXEL;
    int32_t order = COLORORDER_RGB;
    int result = settle_order(target.bits, settled.flags & COLORRES_ORDER_MASK, order);
    if (!target.indexed()) {
        target.order = order;
        target.low = settled.low;
        target.high = settled.high;
    }
    if (!target.indexed() || result != V_SUCCESS)
        return result;
    const bool is_nearest = settled.flags & COLORRES_NODITHER || source.DitheringMethod == DITHER_NONE;
    result = settle_palette(settled, target);
    target.dithered = !is_nearest && !target.gray_levels();
    return result;
}

ColorResRequest gray_like(const BITMAPHANDLE& bitmap) noexcept
{
    const GrayRange range = gray_range_of(bitmap);
    ColorResRequest request;
    request.bits = bitmap.BitsPerPixel;
    request.flags = COLORRES_ORDER_GRAY;
    request.low = range.low_bit();
    request.high = range.high_bit();
    return request;
}

bool has_form(const BITMAPHANDLE& bitmap, const ColorTarget& target) noexcept
{
    if (bitmap.BitsPerPixel != target.bits)
        return false;
    if (!target.indexed()) {
        const bool is_any_range = target.high < 0 || !is_deep_gray(bitmap);
        return bitmap.Order == target.order &&
               (is_any_range || gray_range_of(bitmap) == gray_range_within(target.bits, target.low, target.high));
    }
    if (target.optimized || bitmap.Order == COLORORDER_GRAY || !bitmap.Palette || bitmap.Colors != target.count)
        return false;
    const RGBQUAD* const own = bitmap.Palette;
    return std::equal(own, own + target.count, target.entries, same_color);
}

void drop_useless_dithering(const BITMAPHANDLE& source, ColorTarget& target) noexcept
{
    if (!target.dithered || source.BitsPerPixel > kMostIndexBits || source.Order == COLORORDER_GRAY)
        return;
    const RGBQUAD* const own = source.Palette ? source.Palette : fixed_palette(source.BitsPerPixel);
    const uint32_t count = source.Palette ? palette_entries(source) : 1u << source.BitsPerPixel;
    const RGBQUAD* const begin = target.entries;
    const RGBQUAD* const end = begin + target.count;
    target.dithered = std::any_of(own, own + count, [&](RGBQUAD entry) noexcept {
        if (target.gray_ramp) {
            const auto gray = static_cast<uint8_t>(pixel::gray_of(entry.rgbRed, entry.rgbGreen, entry.rgbBlue));
            entry = {gray, gray, gray, 0};
        }
        return std::none_of(begin, end, [&](const RGBQUAD& held) noexcept { return same_color(held, entry); });
    });
}

} // namespace vk
