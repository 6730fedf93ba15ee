// Matching of two pixels in a vector, for the fixed palettes where that needs no table: the result comes back without
// leaving the vector registers, so that error diffusion waits less for it. Colours that are equally far from two
// entries go to the one-pixel matcher, which knows the rule.
//
// Pixels are blue, green, red and 0 in 16-bit lanes, the upper row's pixel below the lower row's.
#pragma once

#include "kernel/dither/Match.h"

#include <emmintrin.h>

namespace vk::dither {

/// The palette indices of the two pixels.
struct PairIndices {
    uint32_t upper;
    uint32_t lower;
};

/// Whether a way of matching has a PairMatch.
template <class Match> constexpr bool kHasPairMatch = false;
template <class Match> class PairMatch {
public:
    explicit PairMatch(const Match&) noexcept {}
};

/// Both pixels by the one-pixel matcher.
template <class Match>
[[gnu::noinline]] __m128i match_singly(const Match& match, __m128i colors, PairIndices& indices) noexcept
{
    const auto bytes = static_cast<uint64_t>(_mm_cvtsi128_si64(_mm_packus_epi16(colors, colors)));
    const uint32_t upper = match(static_cast<uint32_t>(bytes));
    const uint32_t lower = match(static_cast<uint32_t>(bytes >> 32));
    indices = {upper >> 24, lower >> 24};
    const uint64_t both = (upper & kColorMask) | uint64_t{lower & kColorMask} << 32;
    return _mm_unpacklo_epi8(_mm_cvtsi64_si128(static_cast<int64_t>(both)), _mm_setzero_si128());
}

/// No channel is so far above its level.
constexpr int16_t kNoTie = 1000;

/// How a channel of n levels finds its level: k = (v + add) * scale >> 16, and the level is k * 256 * back >> 16.
struct LevelRule {
    int16_t add, scale;
    uint16_t back;
    int16_t tie; ///< a channel this much above an even level is half-way to the next; no such thing: kNoTie
};

constexpr LevelRule level_rule(uint32_t levels) noexcept
{
    switch (levels) {
    case 2:
        return {127, 258, 65280, kNoTie};
    case 4:
        return {42, 772, 21760, kNoTie};
    case 6:
        return {25, 1286, 13056, kNoTie};
    default:
        return {18, 1799, 9350, 18};
    }
}

/// Checks a rule against what it stands for, for every value.
constexpr bool rule_holds(uint32_t levels) noexcept
{
    const LevelRule rule = level_rule(levels);
    const auto level = [&](uint32_t k) { return (2 * 255 * k + levels - 1) / (2 * (levels - 1)); };
    for (uint32_t v = 0; v < 256; ++v) {
        uint32_t k = 0;
        while (k + 1 < levels && 2 * v > level(k) + level(k + 1)) {
            ++k;
        }
        const bool tie = k + 1 < levels && 2 * v == level(k) + level(k + 1);
        const uint32_t found = (v + static_cast<uint32_t>(rule.add)) * static_cast<uint32_t>(rule.scale) >> 16;
        const uint32_t back = found * 256u * rule.back >> 16;
        const bool flagged = static_cast<int32_t>(v) - static_cast<int32_t>(back) == rule.tie && found % 2 == 0;
        if (found != k || back != level(k) || tie != flagged) {
            return false;
        }
    }
    return true;
}
static_assert(rule_holds(2) && rule_holds(4) && rule_holds(6) && rule_holds(8));

template <> inline constexpr bool kHasPairMatch<CubeMatch> = true;
template <> class PairMatch<CubeMatch> {
public:
    explicit PairMatch(const CubeMatch& match) noexcept : match_(match)
    {
        int16_t lanes[5][8] = {};
        for (uint32_t lane = 0; lane < 8; ++lane) {
            const uint32_t channel = lane % 4;
            if (channel == 3) {
                lanes[3][lane] = kNoTie; // the fourth lane is 0 and stays so
                continue;
            }
            const LevelRule rule = level_rule(match.levels(channel));
            lanes[0][lane] = rule.add;
            lanes[1][lane] = rule.scale;
            lanes[2][lane] = static_cast<int16_t>(rule.back);
            lanes[3][lane] = rule.tie;
            lanes[4][lane] = static_cast<int16_t>(match.step(channel));
        }
        const auto load = [&](size_t i) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(lanes[i])); };
        add_ = load(0);
        scale_ = load(1);
        back_ = load(2);
        tie_ = load(3);
        step_ = load(4);
    }

    [[gnu::always_inline]] __m128i operator()(__m128i colors, PairIndices& indices) const noexcept
    {
        const __m128i k = _mm_mulhi_epu16(_mm_add_epi16(colors, add_), scale_);
        const __m128i levels = _mm_mulhi_epu16(_mm_slli_epi16(k, 8), back_);
        const __m128i odd = _mm_slli_epi16(k, 15);
        const __m128i tie = _mm_cmpeq_epi16(_mm_or_si128(_mm_sub_epi16(colors, levels), odd), tie_);
        if (_mm_movemask_epi8(tie) != 0) [[unlikely]] {
            return match_singly(match_, colors, indices);
        }
        const __m128i halves = _mm_madd_epi16(k, step_);
        const __m128i sums = _mm_add_epi32(halves, _mm_srli_epi64(halves, 32));
        indices = {static_cast<uint32_t>(_mm_cvtsi128_si32(sums)), static_cast<uint32_t>(_mm_extract_epi16(sums, 4))};
        return levels;
    }

private:
    CubeMatch match_;
    __m128i add_, scale_, back_, tie_, step_;
};

/// Index bits of the 16-entry palette (red, green, blue from bit 0 on) from those of the lanes (blue first).
constexpr uint32_t lane_bits_to_index(uint32_t bits) noexcept
{
    return (bits & 1u) << 2 | (bits & 2u) | (bits >> 2 & 1u);
}

template <> inline constexpr bool kHasPairMatch<Fixed4Match> = true;
template <> class PairMatch<Fixed4Match> {
public:
    explicit PairMatch(const Fixed4Match& match) noexcept : match_(match) {}

    [[gnu::always_inline]] __m128i operator()(__m128i colors, PairIndices& indices) const noexcept
    {
        const __m128i silver = _mm_set_epi16(0, 192, 192, 192, 0, 192, 192, 192);
        const __m128i dark_on = _mm_cmpgt_epi16(colors, _mm_set1_epi16(63));
        const __m128i bright_on = _mm_cmpgt_epi16(colors, _mm_set1_epi16(127));
        const __m128i dark = _mm_and_si128(dark_on, _mm_set1_epi16(128));
        const __m128i bright = _mm_and_si128(bright_on, _mm_set1_epi16(255));
        // Squared distances: dark of both pixels, then bright of both; and silver of both, twice.
        const __m128i others = add_halves(squares(colors, dark), squares(colors, bright));
        const __m128i silver_squares = squares(colors, silver);
        const __m128i to_silver = add_halves(silver_squares, silver_squares);
        const __m128i swapped = _mm_shuffle_epi32(others, _MM_SHUFFLE(1, 0, 3, 2));
        const __m128i silver_less = _mm_cmpgt_epi32(others, to_silver);
        const __m128i other_less = _mm_cmpgt_epi32(others, swapped); // in the dark half: bright is less
        const __m128i use_silver = _mm_and_si128(silver_less, _mm_shuffle_epi32(silver_less, _MM_SHUFFLE(1, 0, 3, 2)));

        // Codes: dark of the upper and lower pixel, bright of both, four bits each.
        const auto codes = static_cast<uint32_t>(_mm_movemask_epi8(_mm_packs_epi16(dark_on, bright_on)));
        const auto silver_ties =
            static_cast<uint32_t>(_mm_movemask_ps(_mm_castsi128_ps(_mm_cmpeq_epi32(others, to_silver))));
        const auto other_ties =
            static_cast<uint32_t>(_mm_movemask_ps(_mm_castsi128_ps(_mm_cmpeq_epi32(others, swapped))));
        const auto half_way = static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi16(colors, _mm_set1_epi16(64))));
        // Without a bright channel, bright is black, which is one of the dark ones.
        const uint32_t bright_any = ((codes & 0x0700u) != 0 ? 1u : 0u) | ((codes & 0x7000u) != 0 ? 2u : 0u);
        if ((silver_ties | half_way | (other_ties & bright_any)) != 0) [[unlikely]] {
            return match_singly(match_, colors, indices);
        }
        const auto silver_bits = static_cast<uint32_t>(_mm_movemask_ps(_mm_castsi128_ps(use_silver)));
        const auto bright_bits = static_cast<uint32_t>(_mm_movemask_ps(_mm_castsi128_ps(other_less)));
        indices = {index_of(codes, silver_bits & 1u, bright_bits & 1u),
                   index_of(codes >> 4, silver_bits & 2u, bright_bits & 2u)};
        const __m128i take_bright = _mm_unpacklo_epi32(other_less, other_less);
        const __m128i take_silver = _mm_unpacklo_epi32(use_silver, use_silver);
        const __m128i other = select(take_bright, bright, dark);
        return select(take_silver, silver, other);
    }

private:
    static __m128i squares(__m128i a, __m128i b) noexcept
    {
        const __m128i difference = _mm_sub_epi16(a, b);
        return _mm_madd_epi16(difference, difference);
    }
    static __m128i add_halves(__m128i a, __m128i b) noexcept
    {
        const __m128 first = _mm_castsi128_ps(a);
        const __m128 second = _mm_castsi128_ps(b);
        return _mm_add_epi32(_mm_castps_si128(_mm_shuffle_ps(first, second, _MM_SHUFFLE(2, 0, 2, 0))),
                             _mm_castps_si128(_mm_shuffle_ps(first, second, _MM_SHUFFLE(3, 1, 3, 1))));
    }
    static __m128i select(__m128i mask, __m128i yes, __m128i no) noexcept
    {
        return _mm_or_si128(_mm_and_si128(mask, yes), _mm_andnot_si128(mask, no));
    }
    static uint32_t index_of(uint32_t codes, uint32_t silver, uint32_t bright) noexcept
    {
        const uint32_t dark_index = lane_bits_to_index(codes & 7u);
        const uint32_t bright_index = Fixed4Match::kSilver + lane_bits_to_index(codes >> 8 & 7u);
        const uint32_t index = bright != 0 ? bright_index : dark_index;
        return silver != 0 ? Fixed4Match::kSilver : index;
    }

    Fixed4Match match_;
};

} // namespace vk::dither
