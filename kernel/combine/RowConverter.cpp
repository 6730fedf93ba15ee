#include "kernel/combine/RowConverter.h"

#include "Vkconvert.h"
#include "kernel/colorres/GrayScale.h"
#include "kernel/convert/ExactLookup.h"
#include "kernel/convert/Fused.h"
#include "kernel/format/RowMath.h"
#include "kernel/system/Checks.h"

#include <algorithm>
#include <cstring>

namespace vk::combine {

namespace {

/// Fewer pixels than this do not pay for a prepared look-up.
constexpr uint64_t kFewPixels = 4096;

bool uses_table(const BITMAPHANDLE& bitmap) noexcept
{
    const bool has_table = bitmap.LUT || (is_current(bitmap) && bitmap.LUT16);
    return is_deep_gray(bitmap) && bitmap.BitsPerPixel <= 16 && bitmap.Flags & BITMAPFLAG_USELUT && has_table;
}

/// The order that the converter knows a form by.
int32_t order_of(const PixelForm& form) noexcept
{
    return form.indexed() && !form.gray_levels() ? COLORORDER_RGB : form.order;
}

bool shows_grays(const PixelForm& form) noexcept
{
    const RGBQUAD* const end = form.palette + (size_t{1} << form.bits);
    return std::all_of(form.palette, end, [](const RGBQUAD& entry) noexcept {
        return entry.rgbRed == entry.rgbGreen && entry.rgbGreen == entry.rgbBlue;
    });
}

void use_range(ConvertJob& job, const PixelForm& form, uint32_t flag) noexcept
{
    if (!form.deep_gray() || form.full_range())
        return;
    job.flags |= flag;
    job.low_bit = form.gray.low_bit();
    job.high_bit = form.gray.high_bit();
}

void give_source(ConvertJob& job, const PixelForm& form) noexcept
{
    job.src_bits = form.bits;
    job.src_order = order_of(form);
    job.src_palette = form.indexed() ? form.palette : nullptr;
    use_range(job, form, CVT_SRC_USE_BITS);
}

void give_target(ConvertJob& job, const PixelForm& form) noexcept
{
    job.dst_bits = form.bits;
    job.dst_order = order_of(form);
    job.dst_palette = form.indexed() ? form.palette : nullptr;
    use_range(job, form, CVT_DST_USE_BITS);
}

} // namespace

RowConverter::~RowConverter()
{
    pixel::destroy_exact_lookup(lookup_);
}

/// Samples become the colours that a table holds, by the operation that knows how, a chunk at a time.
int RowConverter::open_table(const BITMAPHANDLE& from) noexcept
{
    std::memcpy(static_cast<void*>(&table_source_), &from, from.StructSize);
    table_source_.Width = kChunk;
    table_source_.Height = 1;
    table_target_.bits = to_.bits > 32 || to_.deep_gray() ? 48 : 32;
    table_target_.order = COLORORDER_BGR;
    has_table_ = true;
    return table_.open(table_source_, table_target_);
}

/// What comes in, behind a look-up table.
ConvertJob RowConverter::first_job() const noexcept
{
    ConvertJob job;
    if (has_table_) {
        job.src_bits = table_target_.bits;
        job.src_order = COLORORDER_BGR;
    } else {
        give_source(job, from_);
    }
    return job;
}

int RowConverter::open_last(ConvertJob job, uint64_t pixels) noexcept
{
    const bool matches = to_.indexed() && !to_.gray_levels();
    const bool asks_little = job.src_bits <= 8 || pixels < kFewPixels;
    if (matches && !(asks_little && to_.colors == 1u << to_.bits)) {
        lookup_ = pixel::create_exact_lookup(to_.palette, to_.colors, asks_little ? 256 : pixels);
        if (!lookup_)
            return V_ERROR_NO_MEMORY;
    }
    give_target(job, to_);
    job.lookup = lookup_;
    return pixel::make_plan(job, &last_) ? V_SUCCESS : V_ERROR_INVALID_PARAMETER;
}

int RowConverter::open_steps(const BITMAPHANDLE& from, uint64_t pixels, bool is_keyed) noexcept
{
    int result = uses_table(from) ? open_table(from) : V_SUCCESS;
    if (result != V_SUCCESS)
        return result;
    ConvertJob job = first_job();
    has_samples_ = job.flags & CVT_SRC_USE_BITS && to_.deep_gray() && !to_.full_range();
    if (has_samples_) {
        job.dst_bits = 32;
        job.dst_order = COLORORDER_GRAY;
        if (!pixel::make_plan(job, &first_))
            return V_ERROR_INVALID_PARAMETER;
        job = {};
        job.src_bits = 32;
        job.src_order = COLORORDER_GRAY;
    }
    if (is_keyed) {
        job.flags |= CVT_TRANSPARENT_COLOR;
        job.transparent = from.Transparency;
    }
    return open_last(job, pixels);
}

int RowConverter::open(const BITMAPHANDLE& from, const BITMAPHANDLE& to, uint64_t pixels) noexcept
{
    return open(from, form_of(to), pixels);
}

int RowConverter::open(const BITMAPHANDLE& from, const PixelForm& to, uint64_t pixels) noexcept
{
    from_ = form_of(from);
    to_ = to;
    moves_bits_ = same_form(from_, to_);
    if (moves_bits_)
        return V_SUCCESS;
    if (to_.indexed() && to_.colors == 0)
        return V_ERROR_INVALID_PARAMETER;
    if (from_.indexed() && same_form(to_, gray_form()) && shows_grays(from_))
        to_.order = COLORORDER_GRAY; // the nearest of all grays to a gray is itself, and need not be looked for
    return open_steps(from, pixels, from.Flags & BITMAPFLAG_TRANSPARENCY && to_.has_alpha() && !from_.has_alpha());
}

int RowConverter::open_key(const BITMAPHANDLE& from) noexcept
{
    from_ = form_of(from);
    to_ = color_form();
    return open_steps(from, 0, true);
}

void RowConverter::run_chunk(const uint8_t* from, uint8_t* to, size_t count) noexcept
{
    alignas(64) uint8_t samples[kChunkBytes];
    alignas(64) uint8_t colors[kChunkBytes];
    if (has_table_) {
        const auto bytes = static_cast<size_t>(packed_bytes(count, from_.bits));
        std::memset(samples, 0, sizeof samples);
        std::memcpy(samples, from, bytes);
        table_.run({samples, sizeof samples}, {colors, sizeof colors}, 1);
        from = colors;
    } else {
        pixel::run_row(first_, from, samples, count, {});
        from = samples;
    }
    pixel::run_row(last_, from, to, count, {});
}

void RowConverter::run(const uint8_t* from, uint8_t* to, size_t count, bool is_large) noexcept
{
    if (moves_bits_) {
        std::memcpy(to, from, static_cast<size_t>(packed_bytes(count, to_.bits)));
        return;
    }
    if (!has_table_ && !has_samples_) {
        if (is_large && last_.fused)
            pixel::stream_fused(last_, from, to, count);
        else
            pixel::run_row(last_, from, to, count, {});
        return;
    }
    for (size_t done = 0; done < count; done += kChunk) {
        const size_t some = std::min<size_t>(count - done, kChunk);
        run_chunk(from + packed_bytes(done, from_.bits), to + packed_bytes(done, to_.bits), some);
    }
}

} // namespace vk::combine
