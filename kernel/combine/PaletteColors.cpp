#include "kernel/combine/PaletteColors.h"

#include "kernel/format/RowMath.h"
#include "kernel/format/Spread.h"
#include "kernel/system/Checks.h"

#include <algorithm>
#include <cstring>

namespace vk::combine {

namespace {

constexpr uint32_t kColorBits = 0x00FFFFFFu;

uint32_t color_at(const uint8_t* colors, int32_t index) noexcept
{
    uint32_t color = 0;
    std::memcpy(&color, colors + 4 * static_cast<size_t>(index), sizeof color);
    return color & kColorBits;
}

} // namespace

int PaletteColors::open(const BITMAPHANDLE& bitmap, uint64_t pixels) noexcept
{
    BITMAPHANDLE colors = {};
    colors.StructSize = kRecordSize;
    colors.BitsPerPixel = 32;
    colors.Order = COLORORDER_BGR;
    form_ = form_of(bitmap);
    BITMAPHANDLE opaque = {}; // its transparent colour, if any, is of no concern here
    std::memcpy(static_cast<void*>(&opaque), &bitmap, bitmap.StructSize);
    opaque.Flags &= ~BITMAPFLAG_TRANSPARENCY;
    const int result = to_colors_.open(opaque, color_form(), pixels);
    return result == V_SUCCESS ? to_indices_.open(colors, form_, pixels) : result;
}

uint8_t* PaletteColors::look_up(Line pixels, int32_t count) noexcept
{
    const auto bits = static_cast<uint32_t>(form_.bits);
    const auto some = static_cast<uint32_t>(count);
    copy_bits(packed_, 0, pixels.data, uint64_t{bits} * static_cast<uint32_t>(pixels.column), uint64_t{bits} * some,
              BitOrder::high_first);
    to_colors_.run(packed_, before_, some);
    std::memcpy(colors_, before_, size_t{some} * 4);
    return colors_;
}

void PaletteColors::find(const uint8_t* colors, uint8_t* indices, size_t count) noexcept
{
    if (form_.bits == 8)
        return to_indices_.run(colors, indices, count);
    to_indices_.run(colors, indices_, count);
    spread_pixels(indices_, indices, count, form_.bits);
}

void PaletteColors::match(Line pixels, int32_t count) noexcept
{
    const auto bits = static_cast<uint32_t>(form_.bits);
    to_indices_.run(colors_, indices_, static_cast<uint32_t>(count));
    // Runs of pixels that have another colour now.
    for (int32_t i = 0; i < count;) {
        int32_t end = i;
        while (end < count && color_at(colors_, end) != color_at(before_, end))
            ++end;
        if (end != i)
            copy_bits(pixels.data, uint64_t{bits} * static_cast<uint32_t>(pixels.column + i), indices_,
                      uint64_t{bits} * static_cast<uint32_t>(i), uint64_t{bits} * static_cast<uint32_t>(end - i),
                      BitOrder::high_first);
        i = end + 1;
    }
}

} // namespace vk::combine
