#include "kernel/window/ShownRows.h"

#include "kernel/convert/Convert.h"
#include "kernel/system/Blocks.h"
#include "kernel/system/Checks.h"

namespace vk {

namespace {

constexpr int32_t kTableBits = 16;
constexpr int32_t kLevelBits = 8;
constexpr int32_t kColorBits = 24;

uint8_t gray_of(const RGBQUAD& color) noexcept
{
    return static_cast<uint8_t>((5 * color.rgbGreen + 2 * color.rgbRed + color.rgbBlue + 4) >> 3);
}

} // namespace

bool ShownTable::is_used(const BITMAPHANDLE& bitmap, const SampleForm& form) noexcept
{
    const bool is_there = bitmap.LUT || (is_current(bitmap) && bitmap.LUT16);
    return is_there && bitmap.Flags & BITMAPFLAG_USELUT && form.significant.bits <= kTableBits;
}

int ShownTable::open(const BITMAPHANDLE& bitmap, const SampleForm& form) noexcept
{
    colors_ = bitmap.LUT;
    wide_ = colors_ ? nullptr : bitmap.LUT16;
    form_ = form;
    const uint32_t held = colors_ ? held_entries(colors_, bitmap.LUTLength) : held_entries(wide_, bitmap.LUTLength16);
    return held > form.significant.mask() ? V_SUCCESS : V_ERROR_INVALID_LUT_LENGTH;
}

RGBQUAD ShownTable::color(const uint8_t* row, int32_t x) const noexcept
{
    const uint32_t index = form_.significant.extract(stored_sample(row, form_.bits, x));
    if (colors_)
        return colors_[index];
    const V_RGBQUAD16& wide = wide_[index];
    return {static_cast<uint8_t>(wide.rgbBlue >> 8), static_cast<uint8_t>(wide.rgbGreen >> 8),
            static_cast<uint8_t>(wide.rgbRed >> 8), 0};
}

int ShownRows::open(const BITMAPHANDLE& bitmap, const SampleForm& form, const V_WINDOW* window, int32_t bits,
                    int32_t width) noexcept
{
    bits_ = bits;
    if (bits == kColorBits && !levels_.allocate(static_cast<uint32_t>(width)))
        return V_ERROR_NO_MEMORY;
    return !window && ShownTable::is_used(bitmap, form) ? table_.open(bitmap, form) : rows_.open(form, window);
}

void ShownRows::run(const uint8_t* row, int32_t first, int32_t end, uint8_t* out, bool streams) noexcept
{
    const auto at = static_cast<size_t>(first);
    if (table_.is_open())
        look_up(row, first, end, out + at * static_cast<size_t>(bits_ / 8));
    else if (bits_ == kLevelBits)
        rows_.run(row, first, end - first, out + at, streams);
    else
        run_colors(row, first, end - first, out + 3 * at);
}

void ShownRows::look_up(const uint8_t* row, int32_t first, int32_t end, uint8_t* out) const noexcept
{
    for (int32_t x = first; x < end; ++x) {
        const RGBQUAD color = table_.color(row, x);
        if (bits_ == kLevelBits) {
            *out++ = gray_of(color);
            continue;
        }
        *out++ = color.rgbBlue;
        *out++ = color.rgbGreen;
        *out++ = color.rgbRed;
    }
}

void ShownRows::run_colors(const uint8_t* row, int32_t first, int32_t count, uint8_t* out) noexcept
{
    rows_.run(row, first, count, levels_.data(), false);
    ConvertJob job;
    job.width = count;
    job.src_bits = kLevelBits;
    job.src_order = COLORORDER_GRAY;
    job.dst_bits = kColorBits;
    job.dst_order = COLORORDER_BGR;
    convert_rows({levels_.data(), 0}, {out, 0}, 1, job);
}

} // namespace vk
