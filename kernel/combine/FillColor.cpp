#include "kernel/combine/FillColor.h"

#include "kernel/sampling/Fill.h"

#include <algorithm>

namespace vk::combine {

FillColor fill_color(const BITMAPHANDLE& bitmap, COLORREF color) noexcept
{
    const sampling::FillPixel pixel = sampling::fill_pixel(bitmap, color);
    FillColor fill;
    std::copy_n(pixel.packed, sizeof fill.packed, fill.packed);
    const int32_t bits = bitmap.BitsPerPixel;
    if (bits == 64)
        fill.packed[6] = fill.packed[7] = 0xFF;
    else if (bits == 32 && bitmap.Order != COLORORDER_GRAY)
        fill.packed[3] = 0xFF;
    return fill;
}

} // namespace vk::combine
