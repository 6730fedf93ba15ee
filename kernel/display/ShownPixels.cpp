#include "kernel/display/ShownPixels.h"

#include "kernel/convert/Convert.h"
#include "kernel/display/PaintTables.h"

#include <algorithm>

namespace vk::display {

namespace {

constexpr int32_t kGrayBits = 24; ///< as samples are shown
constexpr int32_t kWideBits = 64;

/// The part of the significant bits that a bitmap is painted with; all where that names none of them.
GrayRange painted_range(const BITMAPHANDLE& bitmap, GrayRange significant) noexcept
{
    const int32_t low = std::max<int32_t>(+bitmap.PaintLowBit, significant.low_bit());
    const int32_t high = std::min<int32_t>(+bitmap.PaintHighBit, significant.high_bit());
    return low > high ? significant : GrayRange{static_cast<uint32_t>(high - low + 1), static_cast<uint32_t>(low)};
}

/// Gray levels of 8 bits that stand for themselves need no window.
bool is_plain(const SampleForm& form) noexcept
{
    return form.bits == 8 && form.significant == GrayRange{} && !form.is_signed;
}

} // namespace

int ShownPixels::open(const BITMAPHANDLE& bitmap, int32_t width, int32_t bits, uint64_t pixels) noexcept
{
    width_ = width;
    bits_ = bits;
    table_ = paint_table(bitmap);
    SampleForm form;
    is_gray_ = sample_form(bitmap, 0, &form) == V_SUCCESS;
    if (is_gray_ && !ShownTable::is_used(bitmap, form)) {
        form.significant = painted_range(bitmap, form.significant);
        is_gray_ = !is_plain(form);
    }
    return is_gray_ ? open_gray(bitmap, form) : open_colors(bitmap, pixels);
}

int ShownPixels::open_gray(const BITMAPHANDLE& bitmap, SampleForm form) noexcept
{
    if (bits_ != kGrayBits && !between_.allocate(static_cast<uint64_t>(width_) * (kGrayBits / 8)))
        return V_ERROR_NO_MEMORY;
    return gray_.open(bitmap, form, nullptr, kGrayBits, width_);
}

int ShownPixels::open_colors(const BITMAPHANDLE& bitmap, uint64_t pixels) noexcept
{
    if (bitmap.BitsPerPixel >= 48)
        wide_table_ = wide_paint_table(bitmap);
    if (wide_table_ && !between_.allocate(static_cast<uint64_t>(width_) * (kWideBits / 8)))
        return V_ERROR_NO_MEMORY;
    combine::PixelForm shown;
    shown.bits = wide_table_ ? kWideBits : bits_;
    shown.order = COLORORDER_BGR;
    return colors_.open(bitmap, shown, pixels);
}

void ShownPixels::convert(const uint8_t* from, int32_t from_bits, uint8_t* out) const noexcept
{
    ConvertJob job;
    job.width = width_;
    job.src_bits = from_bits;
    job.src_order = COLORORDER_BGR;
    job.dst_bits = bits_;
    job.dst_order = COLORORDER_BGR;
    convert_rows({from, 0}, {out, 0}, 1, job);
}

void ShownPixels::run_wide(const uint8_t* row, uint8_t* out) noexcept
{
    const auto count = static_cast<size_t>(width_);
    colors_.run(row, between_.data(), count);
    paint_words(between_.data(), count, kWideBits / 16, wide_table_);
    convert(between_.data(), kWideBits, out);
}

void ShownPixels::run(const uint8_t* row, uint8_t* out) noexcept
{
    if (wide_table_)
        return run_wide(row, out);
    if (is_gray_) {
        uint8_t* const shown = bits_ == kGrayBits ? out : between_.data();
        gray_.run(row, 0, width_, shown, false);
        if (shown != out)
            convert(shown, kGrayBits, out);
    } else {
        colors_.run(row, out, static_cast<size_t>(width_));
    }
    if (table_)
        paint_bytes(out, static_cast<size_t>(width_), static_cast<size_t>(bits_ / 8), table_);
}

} // namespace vk::display
