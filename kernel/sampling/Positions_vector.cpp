// Positions in vectors. The lanes of an arc's parabola start apart and are stepped together; sums of whole numbers are
// the same in any order.
#include "kernel/sampling/Loops.h"
#include "simd/Arrange.h"
#include "simd/Simd.h"

namespace vk::sampling::VK_SIMD_SET {

namespace {

using namespace simd;

using Numbers = Wide<int32_t>;
using Fine = Wide<uint64_t>;

constexpr auto kLanes = static_cast<int32_t>(Numbers::kLanes);

/// Numbers of an arc are moved up so far that what is told of a position is the upper half of it.
constexpr int kUp = 32 - (kFineBits - kFractionBits);

/// Half of as many positions of an arc, of which every block has the `first` two of four, and the same further on.
/// Without a bend steps stay.
template <bool kIsBent> struct Half {
    Fine at, next, bend;

    Half(uint64_t start, uint64_t step, uint64_t curve, size_t first) noexcept
    {
        constexpr uint64_t kAhead = kLanes;
        const Fine i = lanes_of<Fine>([=](size_t lane) noexcept { return lane / 2 * 4 + lane % 2 + first; });
        at = all<Fine>(start) + i * all<Fine>(step);
        next = all<Fine>(kAhead * step);
        bend = all<Fine>(2 * kAhead * kAhead * curve);
        if constexpr (kIsBent) {
            at += i * (i - all<Fine>(1)) * all<Fine>(curve);
            next += (i * all<Fine>(2 * kAhead) + all<Fine>(kAhead * (kAhead - 1))) * all<Fine>(curve);
        }
    }

    VK_SIMD_INLINE void go_on() noexcept
    {
        at += next;
        if constexpr (kIsBent)
            next += bend;
    }
};

template <bool kIsBent>
void write_all(uint64_t start, uint64_t step, uint64_t curve, int32_t count, int32_t* out) noexcept
{
    Half<kIsBent> a(start, step, curve, 0);
    Half<kIsBent> b(start, step, curve, 2);
    for (int32_t i = 0; i < count; i += kLanes, a.go_on(), b.go_on())
        store(out + i, every_other_in_blocks<1>(as<int32_t>(a.at), as<int32_t>(b.at)));
}

void write_coordinate(int64_t start, int64_t step, int64_t bend, const ArcPart& part, int32_t whole,
                      int32_t* out) noexcept
{
    const auto from = static_cast<uint64_t>(part.from);
    const auto curve = static_cast<uint64_t>(bend);
    const uint64_t at = static_cast<uint64_t>(start) + from * static_cast<uint64_t>(step) + from * from * curve +
                        (static_cast<uint64_t>(int64_t{whole}) << kFineBits);
    const uint64_t next = static_cast<uint64_t>(step) + (2 * from + 1) * curve;
    (curve == 0 ? write_all<false> : write_all<true>)(at << kUp, next << kUp, curve << kUp, part.count, out);
}

void write(const ArcPart& part) noexcept
{
    write_coordinate(part.arc.x, part.arc.step_x, part.arc.bend_x, part, part.shift_x, part.x);
    write_coordinate(part.arc.y, part.arc.step_y, part.arc.bend_y, part, part.shift_y, part.y);
}

struct Range {
    int32_t least;
    int32_t most;
};

template <class V, class Of> VK_SIMD_INLINE int32_t folded(V values, const Of& of) noexcept
{
    if constexpr (V::kLanes > 4) {
        return folded(of(low_half(values), high_half(values)), of);
    } else {
        values = of(values, arrange<[](size_t i) { return i ^ 2; }>(values));
        values = of(values, arrange<[](size_t i) { return i ^ 1; }>(values));
        return values.raw[0] >> kFractionBits;
    }
}

/// Of as many as a vector has and more; the last vector may see some twice.
Range range_of(const int32_t* positions, int32_t count) noexcept
{
    Numbers least = load<Numbers>(positions + count - kLanes);
    Numbers most = least;
    for (int32_t i = 0; i + kLanes < count; i += kLanes) {
        const Numbers some = load<Numbers>(positions + i);
        least = min(least, some);
        most = max(most, some);
    }
    return {folded(least, [](auto a, auto b) noexcept { return min(a, b); }),
            folded(most, [](auto a, auto b) noexcept { return max(a, b); })};
}

Span measure(const Track& track, int32_t from, int32_t count) noexcept
{
    if (count < kLanes)
        return kPlainPositions.measure(track, from, count);
    const Range x = range_of(track.x + from, count);
    const Range y = range_of(track.y + from, count);
    return {track.base_x + x.least, track.base_y + y.least, track.base_x + x.most, track.base_y + y.most};
}

} // namespace

const PositionLoops position_loops = {write, measure};

} // namespace vk::sampling::VK_SIMD_SET
