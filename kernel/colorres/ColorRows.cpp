#include "kernel/colorres/ColorRows.h"

#include "Vkconvert.h"
#include "kernel/colorres/GrayScale.h"
#include "kernel/convert/ExactLookup.h"
#include "kernel/dither/Dither.h"
#include "kernel/format/PackedBits.h"
#include "kernel/format/RowMath.h"
#include "kernel/palette/Palette.h"
#include "kernel/system/Blocks.h"
#include "kernel/system/Checks.h"
#include "kernel/system/ThreadState.h"

#include <algorithm>
#include <cstring>

namespace vk {

namespace {

constexpr uint64_t kBufferBytes = 256 * 1024;
/// Fewer pixels than this do not pay for a prepared look-up.
constexpr int64_t kFewPixels = 4096;

/// Every index's colour is the gray of its number.
bool is_own_gray(const RGBQUAD (&palette)[kMaxPaletteEntries]) noexcept
{
    for (uint32_t i = 0; i < kMaxPaletteEntries; ++i)
        if (palette[i].rgbBlue != i || palette[i].rgbGreen != i || palette[i].rgbRed != i)
            return false;
    return true;
}

} // namespace

ColorRows::~ColorRows()
{
    stop_dithering(dither_);
    if (!is_lookup_shared_)
        pixel::destroy_exact_lookup(lookup_);
}

int ColorRows::open(const BITMAPHANDLE& source, const ColorTarget& target, const ColorRows* shared) noexcept
{
    target_ = &target;
    width_ = source.Width;
    height_ = source.Height;
    start_from(source);
    last_ = {target.bits, target.gray_levels() ? COLORORDER_GRAY : target.order, target.entries, target.low,
             target.high};
    int result = open_table(source);
    if (result == V_SUCCESS)
        result = open_middle();
    if (result == V_SUCCESS && target.indexed() && !target.gray_levels())
        result = target.dithered ? open_dithering(source, shared) : open_matching(shared);
    return result;
}

void ColorRows::start_from(const BITMAPHANDLE& source) noexcept
{
    const int32_t bits = source.BitsPerPixel;
    const GrayKind kind = gray_kind(source);
    is_gray_ = kind != GrayKind::none;
    first_ = {bits, source.Order, nullptr};
    if (is_indexed(bits)) {
        first_.order = source.Order == COLORORDER_GRAY && bits == 8 ? COLORORDER_GRAY : COLORORDER_RGB;
        // Indices past the entries in use are black.
        const RGBQUAD* const own = source.Palette;
        const uint32_t most = 1u << bits;
        std::copy_n(own ? own : fixed_palette(bits), own ? palette_entries(source) : most, palette_);
        first_.palette = palette_;
        // Indices that are their own gray levels go as these. A transparent colour may be an index.
        const bool has_clear = (source.Flags & BITMAPFLAG_TRANSPARENCY) != 0;
        if (bits == 8 && !has_clear && is_own_gray(palette_))
            first_ = {bits, COLORORDER_GRAY, nullptr};
    }
    if (kind == GrayKind::deep) {
        samples_ = gray_range_of(source);
        first_.low = samples_.low_bit();
        first_.high = samples_.high_bit();
    }
    has_transparency_ = source.Flags & BITMAPFLAG_TRANSPARENCY && !has_alpha(bits, source.Order);
    transparent_ = source.Transparency;
}

/// The table of 16-bit channels counts where more than 8 bits of a channel are wanted, or where it is the only one.
int ColorRows::open_table(const BITMAPHANDLE& source) noexcept
{
    if (!is_short_gray(source.BitsPerPixel, source.Order) || !(source.Flags & BITMAPFLAG_USELUT))
        return V_SUCCESS;
    lut_ = source.LUT;
    lut16_ = is_current(source) ? source.LUT16 : nullptr;
    const bool is_deep_target =
        depth_of(target_->bits).channel_bits > 8 || (target_->order == COLORORDER_GRAY && !target_->indexed());
    if (lut_ && lut16_)
        is_deep_target ? void(lut_ = nullptr) : void(lut16_ = nullptr);
    if (!lut_ && !lut16_)
        return V_SUCCESS;
    const uint32_t held = lut_ ? held_entries(lut_, source.LUTLength) : held_entries(lut16_, source.LUTLength16);
    if (held <= samples_.mask())
        return V_ERROR_INVALID_LUT_LENGTH;
    has_table_ = true;
    is_gray_ = false;
    table_ = {lut_ ? 32 : 48, COLORORDER_BGR, nullptr};
    return V_SUCCESS;
}

/// Colours become gray before a gray ramp. Dithering would change wide-gamut rows where they stand.
int ColorRows::open_middle() noexcept
{
    const Form from = form_for_last();
    if (target_->indexed() && target_->gray_ramp && !target_->gray_levels() && !is_gray_) {
        middle_ = {8, COLORORDER_GRAY, nullptr};
        has_middle_ = true;
    } else if (target_->dithered && from.order == COLORORDER_ROMM) {
        middle_ = {24, COLORORDER_BGR, nullptr};
        has_middle_ = true;
    }
    return open_buffers();
}

size_t ColorRows::line_of(const Form& form) const noexcept
{
    return static_cast<size_t>((packed_bytes(static_cast<uint32_t>(width_), form.bits) + 3) / 4 * 4);
}

int ColorRows::open_buffers() noexcept
{
    if (!has_table_ && !has_middle_)
        return V_SUCCESS;
    const size_t table_line = has_table_ ? line_of(table_) : 0;
    const size_t middle_line = has_middle_ ? line_of(middle_) : 0;
    const auto rows = static_cast<uint64_t>(height_);
    batch_ = static_cast<int32_t>(std::clamp<uint64_t>(kBufferBytes / (table_line + middle_line), 1, rows));
    const auto count = static_cast<uint64_t>(batch_);
    if (has_table_ && !table_rows_.allocate(table_line * count))
        return V_ERROR_NO_MEMORY;
    return !has_middle_ || middle_rows_.allocate(middle_line * count) ? V_SUCCESS : V_ERROR_NO_MEMORY;
}

/// Sources of at most 256 values ask once for each, and the converter's own matching does for few pixels; but that goes
/// by all entries the depth can index.
int ColorRows::open_matching(const ColorRows* shared) noexcept
{
    if (shared) {
        lookup_ = shared->lookup_;
        is_lookup_shared_ = true;
        return V_SUCCESS;
    }
    const bool asks_little = is_indexed(form_for_last().bits) || int64_t{width_} * height_ < kFewPixels;
    if (asks_little && target_->count == 1u << target_->bits)
        return V_SUCCESS;
    const uint64_t pixels = asks_little ? 256 : static_cast<uint64_t>(width_) * static_cast<uint64_t>(height_);
    lookup_ = pixel::create_exact_lookup(target_->entries, target_->count, pixels);
    return lookup_ ? V_SUCCESS : V_ERROR_NO_MEMORY;
}

int ColorRows::open_dithering(const BITMAPHANDLE& source, const ColorRows* shared) noexcept
{
    const Form& from = form_for_last();
    dither_.StructSize = kRecordSize;
    dither_.Width = width_;
    dither_.Height = height_;
    dither_.BitsPerPixel = from.bits;
    dither_.Order = from.order;
    dither_.Palette = from.palette ? palette_ : nullptr;
    dither_.Colors = from.palette ? 1u << from.bits : 0;
    dither_.LowBit = std::max(from.low, 0);
    dither_.HighBit = from.high;
    dither_.DitheringMethod = source.DitheringMethod;
    if (shared)
        return join_dithering(dither_, shared->dither_);
    uint32_t* const match_table = target_->passed ? thread_state().user_match_table : nullptr;
    return start_dithering(dither_, target_->entries, target_->count, target_->bits, match_table);
}

uint32_t ColorRows::share(uint32_t threads) noexcept
{
    return threads > 1 && dither_state(dither_) ? share_dithering(dither_, threads) : threads;
}

int32_t ColorRows::rows_together() const noexcept
{
    const DitherState* const state = dither_state(dither_);
    return state ? vk::rows_together(*state) : 1;
}

void ColorRows::go_to(int32_t row) noexcept
{
    if (DitherState* const state = dither_state(dither_))
        go_to_row(*state, static_cast<uint64_t>(row));
}

void ColorRows::abandon() const noexcept
{
    if (const DitherState* const state = dither_state(dither_))
        abandon_dithering(*state);
}

ConvertJob ColorRows::job(const Form& from, const Form& to) const noexcept
{
    ConvertJob job;
    job.width = width_;
    job.src_bits = from.bits;
    job.src_order = from.order;
    job.src_palette = from.palette;
    job.dst_bits = to.bits;
    job.dst_order = to.order;
    job.dst_palette = to.palette;
    if (from.high >= 0) {
        job.flags |= CVT_SRC_USE_BITS;
        job.low_bit = from.low;
        job.high_bit = from.high;
    }
    job.to_low_bit = to.low;
    job.to_high_bit = to.high;
    if (has_transparency_ && has_alpha(to.bits, to.order)) {
        job.flags |= CVT_TRANSPARENT_COLOR;
        job.transparent = transparent_;
    }
    return job;
}

template <class Entry> void ColorRows::expand_row(const uint8_t* row, const Entry* table, uint8_t* out) const noexcept
{
    constexpr size_t kBytes = sizeof(Entry) == 4 ? 4 : 6; // a palette entry is BGR and a spare byte, or 48-bit BGR
    const GrayRange samples = samples_;
    with_depth(first_.bits, [&]<int32_t kBits>() noexcept {
        if constexpr (is_short_gray(kBits, COLORORDER_GRAY))
            for (size_t i = 0; i < static_cast<size_t>(width_); ++i) {
                std::memcpy(out + kBytes * i, table + samples.extract(pixel_at<kBits>(row, i)), kBytes);
                if constexpr (kBytes == 4)
                    out[4 * i + 3] = 0xFF;
            }
    });
}

SourceRows ColorRows::expand(SourceRows src, int32_t rows) noexcept
{
    const size_t line = line_of(table_);
    for (size_t i = 0; i < static_cast<size_t>(rows); ++i) {
        const uint8_t* const row = static_cast<const uint8_t*>(src.data) + i * src.stride;
        uint8_t* const out = table_rows_.data() + i * line;
        lut_ ? expand_row(row, lut_, out) : expand_row(row, lut16_, out);
    }
    return {table_rows_.data(), line};
}

int ColorRows::last_step(SourceRows src, TargetRows dst, int32_t rows) noexcept
{
    const auto count = static_cast<size_t>(rows);
    if (DitherState* const state = dither_state(dither_)) {
        // Rows are only read: wide-gamut ones have become others before.
        auto* const from = static_cast<uint8_t*>(const_cast<void*>(src.data));
        dither_rows(*state, from, src.stride, static_cast<uint8_t*>(dst.data), dst.stride, count);
        return V_SUCCESS;
    }
    ConvertJob last = job(form_for_last(), last_);
    last.lookup = lookup_;
    return convert_rows(src, dst, count, last);
}

int ColorRows::run_batch(SourceRows src, TargetRows dst, int32_t rows) noexcept
{
    if (has_table_)
        src = expand(src, rows);
    if (has_middle_) {
        const size_t line = line_of(middle_);
        const ConvertJob to_middle = job(has_table_ ? table_ : first_, middle_);
        const int result = convert_rows(src, {middle_rows_.data(), line}, static_cast<size_t>(rows), to_middle);
        if (result != V_SUCCESS)
            return result;
        src = {middle_rows_.data(), line};
    }
    return last_step(src, dst, rows);
}

int ColorRows::run(SourceRows src, TargetRows dst, int32_t rows) noexcept
{
    if (!has_table_ && !has_middle_)
        return run_batch(src, dst, rows);
    int result = V_SUCCESS;
    for (int32_t row = 0; row < rows && result == V_SUCCESS;) {
        const int32_t count = std::min(batch_, rows - row);
        const auto done = static_cast<size_t>(row);
        result = run_batch({static_cast<const uint8_t*>(src.data) + done * src.stride, src.stride},
                           {static_cast<uint8_t*>(dst.data) + done * dst.stride, dst.stride}, count);
        row += count;
    }
    return result;
}

} // namespace vk
