// Positions sixteen at a time; see Positions_avx2.cpp.
#include "kernel/sampling/Loops.h"

#include <immintrin.h>

namespace vk::sampling {

namespace {

constexpr int32_t kLanes = 16;

/// Numbers of an arc are moved up so far that what is told of a position is the upper half of it.
constexpr int kUp = 32 - (kFineBits - kFractionBits);

/// Eight positions of an arc, sixteen samples apart from the next eight. Without a bend steps stay.
template <bool kIsBent> struct Octet {
    __m512i at;
    __m512i next;
    __m512i bend;

    Octet(uint64_t start, uint64_t step, uint64_t curve, uint64_t first) noexcept
    {
        const __m512i i = _mm512_add_epi64(_mm512_set_epi64(7, 6, 5, 4, 3, 2, 1, 0), all(first));
        at = _mm512_add_epi64(all(start), _mm512_mullo_epi64(i, all(step)));
        next = all(kLanes * step);
        bend = all(2 * kLanes * kLanes * curve);
        if constexpr (kIsBent) {
            const __m512i pairs = _mm512_mullo_epi64(i, _mm512_sub_epi64(i, all(1)));
            const __m512i curves = _mm512_add_epi64(_mm512_slli_epi64(i, 5), all(kLanes * (kLanes - 1)));
            at = _mm512_add_epi64(at, _mm512_mullo_epi64(pairs, all(curve)));
            next = _mm512_add_epi64(next, _mm512_mullo_epi64(curves, all(curve)));
        }
    }
    static __m512i all(uint64_t value) noexcept { return _mm512_set1_epi64(static_cast<int64_t>(value)); }

    void go_on() noexcept
    {
        at = _mm512_add_epi64(at, next);
        if constexpr (kIsBent)
            next = _mm512_add_epi64(next, bend);
    }
};

template <bool kIsBent>
void write_all(uint64_t start, uint64_t step, uint64_t curve, int32_t count, int32_t* out) noexcept
{
    const __m512i upper = _mm512_set_epi32(31, 29, 27, 25, 23, 21, 19, 17, 15, 13, 11, 9, 7, 5, 3, 1);
    Octet<kIsBent> a(start, step, curve, 0);
    Octet<kIsBent> b(start, step, curve, 8);
    for (int32_t i = 0; i < count; i += kLanes, a.go_on(), b.go_on())
        _mm512_storeu_si512(out + i, _mm512_permutex2var_epi32(a.at, upper, b.at));
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

template <class Of> int32_t folded(__m512i values, const Of& of) noexcept
{
    const __m256i eight =
        of(_mm512_maskz_extracti64x4_epi64(0xF, values, 0), _mm512_maskz_extracti64x4_epi64(0xF, values, 1));
    const __m256i four = of(eight, _mm256_permute4x64_epi64(eight, 0x4E));
    const __m256i two = of(four, _mm256_shuffle_epi32(four, 0x4E));
    const __m256i one = of(two, _mm256_shuffle_epi32(two, 0xB1));
    return _mm256_cvtsi256_si32(one) >> kFractionBits;
}

Range range_of(const int32_t* positions, int32_t count) noexcept
{
    __m512i least = _mm512_loadu_si512(positions + count - kLanes);
    __m512i most = least;
    for (int32_t i = 0; i + kLanes < count; i += kLanes) {
        const __m512i some = _mm512_loadu_si512(positions + i);
        least = _mm512_min_epi32(least, some);
        most = _mm512_max_epi32(most, some);
    }
    return {folded(least, [](__m256i a, __m256i b) noexcept { return _mm256_min_epi32(a, b); }),
            folded(most, [](__m256i a, __m256i b) noexcept { return _mm256_max_epi32(a, b); })};
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

constexpr PositionLoops kAvx512Positions{write, measure};

} // namespace vk::sampling
