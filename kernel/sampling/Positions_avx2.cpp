// Positions eight at a time. The lanes of an arc's parabola start apart and are stepped together; sums of whole numbers
// are the same in any order.
#include "kernel/sampling/Loops.h"

#include <algorithm>
#include <immintrin.h>

namespace vk::sampling {

namespace {

constexpr int32_t kLanes = 8;

/// Numbers of an arc are moved up so far that what is told of a position is the upper half of it.
constexpr int kUp = 32 - (kFineBits - kFractionBits);

/// Four positions of an arc, eight samples apart from the next four.
struct Quad {
    __m256i at;
    __m256i next;
    __m256i bend;

    /// For samples first[k] behind the one that `start` is at; `step` leads to the next one.
    Quad(uint64_t start, uint64_t step, uint64_t curve, const uint64_t (&first)[4]) noexcept
    {
        alignas(32) uint64_t places[4];
        alignas(32) uint64_t steps[4];
        for (int k = 0; k < 4; ++k) {
            const uint64_t i = first[k];
            places[k] = start + i * step + i * (i - 1) * curve;
            steps[k] = kLanes * step + (2 * kLanes * i + kLanes * (kLanes - 1)) * curve;
        }
        at = _mm256_load_si256(reinterpret_cast<const __m256i*>(places));
        next = _mm256_load_si256(reinterpret_cast<const __m256i*>(steps));
        bend = _mm256_set1_epi64x(static_cast<int64_t>(2 * kLanes * kLanes * curve));
    }

    void go_on() noexcept
    {
        at = _mm256_add_epi64(at, next);
        next = _mm256_add_epi64(next, bend);
    }
    __m256 told() const noexcept { return _mm256_castsi256_ps(at); }
};

void write_coordinate(int64_t start, int64_t step, int64_t bend, const ArcPart& part, int32_t whole,
                      int32_t* out) noexcept
{
    const auto from = static_cast<uint64_t>(part.from);
    const auto curve = static_cast<uint64_t>(bend);
    const uint64_t at = static_cast<uint64_t>(start) + from * static_cast<uint64_t>(step) + from * from * curve +
                        (static_cast<uint64_t>(int64_t{whole}) << kFineBits);
    const uint64_t next = static_cast<uint64_t>(step) + (2 * from + 1) * curve;
    // In this order the upper halves of both make eight in a row.
    Quad a(at << kUp, next << kUp, curve << kUp, {0, 1, 4, 5});
    Quad b(at << kUp, next << kUp, curve << kUp, {2, 3, 6, 7});
    for (int32_t i = 0; i < part.count; i += kLanes, a.go_on(), b.go_on())
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + i),
                            _mm256_castps_si256(_mm256_shuffle_ps(a.told(), b.told(), 0xDD)));
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

template <class Of> int32_t folded(__m256i values, const Of& of) noexcept
{
    __m128i four = of(_mm256_castsi256_si128(values), _mm256_extracti128_si256(values, 1));
    four = of(four, _mm_shuffle_epi32(four, 0x4E));
    four = of(four, _mm_shuffle_epi32(four, 0xB1));
    return _mm_cvtsi128_si32(four) >> kFractionBits;
}

/// Of eight and more; the last vector may see some twice.
Range range_of(const int32_t* positions, int32_t count) noexcept
{
    const auto load = [&](int32_t i) noexcept {
        return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(positions + i));
    };
    __m256i least = load(count - kLanes);
    __m256i most = least;
    for (int32_t i = 0; i + kLanes < count; i += kLanes) {
        const __m256i some = load(i);
        least = _mm256_min_epi32(least, some);
        most = _mm256_max_epi32(most, some);
    }
    return {folded(least, [](__m128i a, __m128i b) noexcept { return _mm_min_epi32(a, b); }),
            folded(most, [](__m128i a, __m128i b) noexcept { return _mm_max_epi32(a, b); })};
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

constexpr PositionLoops kAvx2Positions{write, measure};

} // namespace vk::sampling
