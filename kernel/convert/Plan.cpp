// Choosing and running a conversion.
#include "kernel/convert/Plan.h"

#include "Vkconvert.h"
#include "kernel/convert/Fused.h"
#include "kernel/convert/Gamut.h"
#include "kernel/convert/Reduce.h"
#include "kernel/format/Spread.h"
#include "kernel/palette/Palette.h"

#include <cstring>

namespace vk::pixel {
namespace {

/// Pixels that fused paths take have at most so many bytes.
constexpr size_t kFusedPixelBytes = 4;

/// The flags that count: gray bits follow the orders, a range needs a gray side, and a full range is no range.
/// False when they contradict each other.
bool normalise_flags(const ConvertJob& job, uint32_t* flags) noexcept
{
    uint32_t f = job.flags;
    f = job.src_order == COLORORDER_GRAY ? f | CVT_SRC_GRAY : f & ~(CVT_SRC_GRAY | CVT_SRC_USE_BITS);
    f = job.dst_order == COLORORDER_GRAY ? f | CVT_DST_GRAY : f & ~CVT_DST_GRAY;
    const bool both = (f & CVT_SRC_USE_BITS) != 0 && (f & CVT_DST_USE_BITS) != 0;
    if (both || ((f & CVT_DST_USE_BITS) != 0 && (f & CVT_DST_GRAY) == 0)) {
        return false;
    }
    const auto full = [&job](int32_t bits) noexcept {
        return job.low_bit < 1 && (job.high_bit < 0 || job.high_bit == bits - 1);
    };
    f = full(job.src_bits) ? f & ~CVT_SRC_USE_BITS : f;
    f = full(job.dst_bits) ? f & ~CVT_DST_USE_BITS : f;
    *flags = f;
    return true;
}

/// The significant bits of a format's samples; only deep gray can have less than all. False when there are none.
bool significant_range(const ConvertJob& job, const Format& format, uint32_t flag, GrayRange* range) noexcept
{
    const bool used = flag != 0 && format.deep_gray();
    *range = gray_range_as_stated(format.stored_bits(), used ? job.low_bit : 0, used ? job.high_bit : -1);
    return range->bits != 0;
}

bool choose_formats(const ConvertJob& job, uint32_t flags, Plan* plan) noexcept
{
    plan->src = find_format(job.src_bits, job.src_order);
    plan->dst = find_format(job.dst_bits, job.dst_order);
    if (plan->src == nullptr || plan->dst == nullptr) {
        return false;
    }
    if (plan->src->work == Work::gray8 && (flags & CVT_SRC_USE_BITS) != 0) {
        plan->src = &gray8_samples();
    }
    if (!significant_range(job, *plan->src, flags & CVT_SRC_USE_BITS, &plan->src_range) ||
        !significant_range(job, *plan->dst, flags & CVT_DST_USE_BITS, &plan->dst_range)) {
        return false;
    }
    if (job.to_high_bit >= 0 && plan->dst->deep_gray()) {
        plan->dst_range = gray_range_as_stated(plan->dst->stored_bits(), job.to_low_bit, job.to_high_bit);
    }
    return plan->dst_range.bits != 0;
}

void choose_palettes(const ConvertJob& job, Plan* plan) noexcept
{
    plan->src_palette = job.src_palette != nullptr ? job.src_palette : fixed_palette(job.src_bits);
    plan->src_palette16 = nullptr;
    if (plan->dst->indexed()) {
        const RGBQUAD* palette = job.dst_palette != nullptr ? job.dst_palette : fixed_palette(job.dst_bits);
        plan->matcher.prepare(palette, 1u << job.dst_bits, job.lookup);
        if (is_short_gray(job.src_bits, job.src_order)) {
            plan->src_palette16 = job.src_palette16;
        }
    }
}

/// The general way for at most kChunk pixels; source and destination may be the same memory.
void run_chunk(Plan& plan, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    alignas(32) uint8_t first[kChunk * sizeof(Rgba16)];
    alignas(32) uint8_t second[kChunk * sizeof(Rgba16)];
    plan.src->unpack(src, first, count);
    if (plan.undo_gamut) {
        plan.src->work == Work::rgba8 ? inverse_gamut(reinterpret_cast<Rgba8*>(first), count)
                                      : inverse_gamut(reinterpret_cast<Rgba16*>(first), count);
    }
    uint8_t* work = first;
    if (plan.reduce != nullptr) {
        plan.reduce(plan, first, second, count);
        work = second;
    }
    if (plan.set_alpha) {
        plan.dst->work == Work::rgba8 ? set_alpha8(reinterpret_cast<Rgba8*>(work), count, plan.transparent)
                                      : set_alpha16(reinterpret_cast<Rgba16*>(work), count, plan.transparent);
    }
    if (plan.apply_gamut) {
        plan.dst->work == Work::rgba8 ? forward_gamut(reinterpret_cast<Rgba8*>(work), count)
                                      : forward_gamut(reinterpret_cast<Rgba16*>(work), count);
    }
    plan.dst->pack(work, dst, count);
}

/// One chunk in place. Fused paths want separate memory, so they get a copy of the chunk.
void convert_chunk(Plan& plan, uint8_t* buffer, size_t first, size_t count) noexcept
{
    const uint8_t* src = buffer + format_bytes(*plan.src, first);
    uint8_t* dst = buffer + format_bytes(*plan.dst, first);
    if (plan.fused == nullptr) {
        run_chunk(plan, src, dst, count);
        return;
    }
    alignas(64) uint8_t copy[kFusedChunk * kFusedPixelBytes + kFusedSlack];
    if (plan.spread != nullptr) {
        spread_pixels(src, copy, count, plan.src->bits);
    } else {
        std::memcpy(copy, src, format_bytes(*plan.src, count));
    }
    run_fused(plan, copy, dst, count, {kFusedSlack, 0});
}

/// True when the conversion leaves every bit as it is.
bool changes_nothing(const Plan& plan) noexcept
{
    return plan.src == plan.dst && plan.reduce == nullptr && !plan.set_alpha;
}

} // namespace

bool make_plan(const ConvertJob& job, Plan* plan) noexcept
{
    uint32_t flags = 0;
    if (!normalise_flags(job, &flags) || !choose_formats(job, flags, plan)) {
        return false;
    }
    choose_palettes(job, plan);
    plan->undo_gamut = plan->src->wide_gamut && !plan->dst->wide_gamut;
    plan->apply_gamut = plan->dst->wide_gamut && !plan->src->wide_gamut;
    prepare_reduce(*plan, job.transparent, (flags & CVT_TRANSPARENT_COLOR) != 0);
    choose_fused(*plan);
    return true;
}

void run_in_place(Plan& plan, uint8_t* buffer, size_t width) noexcept
{
    if (changes_nothing(plan)) {
        return;
    }
    const size_t chunk = plan.fused != nullptr ? kFusedChunk : kChunk;
    if (plan.dst->stored_bits() <= plan.src->stored_bits()) {
        for (size_t at = 0; at < width; at += chunk) {
            convert_chunk(plan, buffer, at, width - at < chunk ? width - at : chunk);
        }
        return;
    }
    // A row that grows is converted from its end, so that no chunk overwrites one still to be read.
    for (size_t end = width; end != 0;) {
        const size_t at = (end - 1) / chunk * chunk;
        convert_chunk(plan, buffer, at, end - at);
        end = at;
    }
}

void run_row(Plan& plan, const uint8_t* src, uint8_t* dst, size_t width, Spare spare) noexcept
{
    if (plan.fused != nullptr) {
        fuse_row(plan, src, dst, width, spare);
        return;
    }
    if (changes_nothing(plan)) {
        std::memcpy(dst, src, format_bytes(*plan.dst, width));
        return;
    }
    for (size_t at = 0; at < width; at += kChunk) {
        run_chunk(plan, src + format_bytes(*plan.src, at), dst + format_bytes(*plan.dst, at),
                  width - at < kChunk ? width - at : kChunk);
    }
}

} // namespace vk::pixel
