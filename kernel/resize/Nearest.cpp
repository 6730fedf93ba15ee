// The choice of a plan, and the pixel-by-pixel walk that defines what every plan gives.
#include "kernel/resize/Nearest.h"

#include "kernel/format/PackedBits.h"
#include "kernel/format/RowMath.h"
#include "kernel/format/Spread.h"
#include "kernel/resize/Stepping.h"
#include "simd/Simd.h"

#include <algorithm>
#include <cstring>

namespace vk::resize {

namespace {

/// Source pixels per destination pixel from which picking bits loses to walking.
constexpr int32_t kMostPicked = 16;

/// Whole-byte pixels.
template <size_t kBytes> void walk_bytes(const NearestPlan& plan, const uint8_t* src, uint8_t* dst) noexcept
{
    Walk walk(plan.from, plan.to, plan.walked_from);
    for (auto i = static_cast<size_t>(plan.walked_from); i < static_cast<size_t>(plan.to); ++i, walk.next())
        std::memcpy(dst + i * kBytes, src + static_cast<size_t>(walk.source()) * kBytes, kBytes);
}

/// Pixels of a stream of bits, highest first, gathered until there is a byte to write.
template <int32_t kBits> void walk_bits(const NearestPlan& plan, const uint8_t* src, uint8_t* dst) noexcept
{
    Walk walk(plan.from, plan.to, plan.walked_from);
    uint8_t* out = dst + packed_bytes(static_cast<uint64_t>(plan.walked_from), kBits);
    uint32_t gathered = 0;
    uint32_t count = 0;
    for (int64_t i = plan.walked_from; i < plan.to; ++i, walk.next()) {
        gathered = gathered << kBits | pixel_at<kBits>(src, static_cast<uint32_t>(walk.source()));
        count += kBits;
        if (count >= 8) {
            count -= 8;
            *out++ = static_cast<uint8_t>(gathered >> count);
        }
    }
    if (count != 0)
        *out = static_cast<uint8_t>(gathered << (8 - count));
}

/// The same, lowest first.
template <int32_t kBits> void walk_low_bits(const NearestPlan& plan, const uint8_t* src, uint8_t* dst) noexcept
{
    Walk walk(plan.from, plan.to, plan.walked_from);
    uint8_t* out = dst + packed_bytes(static_cast<uint64_t>(plan.walked_from), kBits);
    uint32_t gathered = 0;
    uint32_t count = 0;
    for (int64_t i = plan.walked_from; i < plan.to; ++i, walk.next()) {
        gathered |= pixel_at<kBits>(src, static_cast<uint32_t>(walk.source())) << count;
        count += kBits;
        for (; count >= 8; count -= 8, gathered >>= 8)
            *out++ = static_cast<uint8_t>(gathered);
    }
    if (count != 0)
        *out = static_cast<uint8_t>(gathered);
}

void walk_row(const NearestPlan& plan, const uint8_t* src, uint8_t* dst) noexcept
{
    with_depth(plan.bits, [&]<int32_t kBits>() noexcept {
        if constexpr (packing_of(kBits) == Packing::bytes)
            walk_bytes<kBits / 8>(plan, src, dst);
        else if constexpr (packing_of(kBits) == Packing::high_first)
            walk_bits<kBits>(plan, src, dst);
        else
            walk_low_bits<kBits>(plan, src, dst);
    });
}

void copy_row(const NearestPlan& plan, const uint8_t* src, uint8_t* dst) noexcept
{
    const size_t bytes = plan.to_bytes();
    std::memcpy(dst, src, bytes);
    dst[bytes - 1] = static_cast<uint8_t>(dst[bytes - 1] & tail_mask(plan.bits, static_cast<uint32_t>(plan.to)));
}

} // namespace

size_t NearestPlan::from_bytes() const noexcept
{
    return static_cast<size_t>(packed_bytes(static_cast<uint64_t>(from), bits));
}

size_t NearestPlan::to_bytes() const noexcept
{
    return static_cast<size_t>(packed_bytes(static_cast<uint64_t>(to), bits));
}

size_t NearestPlan::row_bytes() const noexcept
{
    return packed != 0 ? static_cast<size_t>(packed_bytes(static_cast<uint64_t>(to), packed)) : to_bytes();
}

int plan_nearest(NearestPlan& plan, int32_t bits, int32_t from, int32_t to) noexcept
{
    plan.bits = bits;
    plan.from = from;
    plan.to = to;
    plan.way = Way::walk;
    plan.walked_from = 0;
    plan.loops = nearest_loops_sets.best();
    plan.packed = 0;
    bool made = true;
    if (plan.loops && bits != 1 && !is_whole_bytes(bits) && from != to && from / to < kMostSpread) {
        plan.packed = bits;
        plan.bits = bits = static_cast<int32_t>(8 * spread_size(bits));
        if (!plan.spread.allocate(plan.from_bytes() + plan.to_bytes()))
            return V_ERROR_NO_MEMORY;
    }
    if (from == to)
        plan.way = Way::copy;
    else if (!plan.loops)
        return V_SUCCESS;
    else if (is_whole_bytes(bits))
        made = (!permute_loops_sets.best() || make_permute(plan)) && (plan.way != Way::walk || make_shuffle(plan));
    else if (bits == 1 && int64_t{from} * 2 == to)
        make_double(plan);
    else if (bits == 1 && from < to && simd::moves_bits_fast())
        made = make_spread(plan);
    else if (bits == 1 && from / to < kMostPicked && simd::moves_bits_fast())
        made = make_pick(plan);
    else if (bits == 1 && from / to < kMostShuffledBits && !simd::moves_bits_fast())
        made = make_shuffle_bits(plan);
    return made ? V_SUCCESS : V_ERROR_NO_MEMORY;
}

namespace {

void run_moved(const NearestPlan& plan, const uint8_t* src, uint8_t* dst, ptrdiff_t ahead) noexcept
{
    switch (plan.way) {
    case Way::copy:
        return copy_row(plan, src, dst);
    case Way::shuffle:
        plan.loops->shuffle(plan, src, dst);
        break;
    case Way::permute:
        return permute_loops_sets.best()->row(plan, src, dst, ahead);
    case Way::pick_bits:
        plan.loops->pick_bits(plan, src, dst);
        break;
    case Way::spread_bits:
        plan.loops->spread_bits(plan, src, dst);
        break;
    case Way::double_bits:
        plan.loops->double_bits(plan, src, dst);
        break;
    case Way::shuffle_bits:
        plan.loops->shuffle_bits(plan, src, dst);
        break;
    case Way::walk:
        break;
    }
    walk_row(plan, src, dst);
}

} // namespace

void run_nearest(const NearestPlan& plan, const uint8_t* src, uint8_t* dst, ptrdiff_t ahead) noexcept
{
    if (plan.packed == 0)
        return run_moved(plan, src, dst, ahead);
    uint8_t* const before = plan.spread.data();
    uint8_t* const after = before + plan.from_bytes();
    spread_pixels(src, before, static_cast<size_t>(plan.from), plan.packed);
    run_moved(plan, before, after, 0);
    gather_pixels(after, dst, static_cast<size_t>(plan.to), plan.packed);
}

void stream_rows(const uint8_t* from, uint8_t* to, size_t bytes) noexcept
{
    constexpr size_t kLine = 64;
    const size_t head = (kLine - reinterpret_cast<uintptr_t>(to) % kLine) % kLine;
    if (bytes < head + kLine) {
        std::memcpy(to, from, bytes);
        return;
    }
    std::memcpy(to, from, head);
    from += head;
    to += head;
    const size_t tail = (bytes - head) % kLine;
    const size_t lines = bytes - head - tail;
    if (const NearestLoops* const loops = nearest_loops_sets.best())
        loops->stream_lines(from, to, lines);
    else
        for (size_t at = 0; at < lines; at += simd::Quad<uint8_t>::kBytes)
            simd::stream(to + at, simd::load<simd::Quad<uint8_t>>(from + at));
    std::memcpy(to + lines, from + lines, tail);
}

} // namespace vk::resize
