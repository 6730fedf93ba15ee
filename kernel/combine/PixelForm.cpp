#include "kernel/combine/PixelForm.h"

#include "kernel/colorres/GrayScale.h"

#include <algorithm>

namespace vk::combine {

namespace {

void take_palette(const BITMAPHANDLE& bitmap, PixelForm& form) noexcept
{
    const uint32_t most = 1u << form.bits;
    const RGBQUAD* const own = bitmap.Palette;
    const RGBQUAD* const entries = form.gray_levels() ? gray_levels() : own ? own : fixed_palette(form.bits);
    form.colors = form.gray_levels() || !own ? most : palette_entries(bitmap);
    std::copy_n(entries, form.colors, form.palette);
}

bool same_color(const RGBQUAD& a, const RGBQUAD& b) noexcept
{
    return a.rgbRed == b.rgbRed && a.rgbGreen == b.rgbGreen && a.rgbBlue == b.rgbBlue;
}

} // namespace

PixelForm form_of(const BITMAPHANDLE& bitmap) noexcept
{
    PixelForm form;
    form.bits = bitmap.BitsPerPixel;
    form.order = bitmap.Order;
    if (form.indexed())
        take_palette(bitmap, form);
    else if (form.deep_gray() && form.bits <= 32)
        form.gray = gray_range_of(bitmap);
    return form;
}

PixelForm color_form() noexcept
{
    PixelForm form;
    form.bits = 32;
    form.order = COLORORDER_BGR;
    return form;
}

PixelForm gray_form() noexcept
{
    PixelForm form;
    form.bits = 8;
    form.order = COLORORDER_GRAY;
    form.colors = kMaxPaletteEntries;
    std::copy_n(gray_levels(), kMaxPaletteEntries, form.palette);
    return form;
}

bool same_form(const PixelForm& a, const PixelForm& b) noexcept
{
    if (a.bits != b.bits)
        return false;
    if (a.indexed())
        return std::equal(a.palette, a.palette + (size_t{1} << a.bits), b.palette, same_color);
    return a.order == b.order && a.gray == b.gray;
}

} // namespace vk::combine
