// Matching of two pixels in a vector, for the fixed palettes where that needs no table: the result comes back without
// leaving the vector registers, so that error diffusion waits less for it. Colours that are equally far from two
// entries go to the one-pixel matcher, which knows the rule.
//
// Pixels are blue, green, red and 0 in 16-bit lanes, the upper row's pixel below the lower row's.
#pragma once

#include "kernel/dither/Match.h"
#include "kernel/dither/Pixels.h"

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
[[gnu::noinline]] Words match_singly(const Match& match, Words colors, PairIndices& indices) noexcept
{
    const auto pixels = simd::as<uint32_t>(simd::pack_unsigned(colors, colors));
    const uint32_t upper = match(pixels.raw[0]);
    const uint32_t lower = match(pixels.raw[1]);
    indices = {upper >> 24, lower >> 24};
    return words_of(upper & kColorMask, lower & kColorMask);
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
        const auto load = [&](size_t i) { return simd::load<Words>(lanes[i]); };
        add_ = load(0);
        scale_ = simd::as<uint16_t>(load(1));
        back_ = simd::as<uint16_t>(load(2));
        tie_ = load(3);
        step_ = load(4);
    }

    [[gnu::always_inline]] Words operator()(Words colors, PairIndices& indices) const noexcept
    {
        const auto k = simd::mul_high(simd::as<uint16_t>(colors + add_), scale_);
        const Words levels = simd::as<int16_t>(simd::mul_high(k << 8, back_));
        const Words odd = simd::as<int16_t>(k << 15);
        if (simd::any(((colors - levels) | odd) == tie_)) [[unlikely]] {
            return match_singly(match_, colors, indices);
        }
        const auto halves = simd::mul_pairs(simd::as<int16_t>(k), step_);
        const auto sums = halves + simd::as<int32_t>(simd::as<uint64_t>(halves) >> 32);
        indices = {static_cast<uint32_t>(sums.raw[0]), simd::as<uint16_t>(sums).raw[4]};
        return levels;
    }

private:
    CubeMatch match_;
    Words add_, tie_, step_;
    simd::Quad<uint16_t> scale_, back_;
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

    [[gnu::always_inline]] Words operator()(Words colors, PairIndices& indices) const noexcept
    {
        constexpr auto level = [](int16_t value) { return simd::all<Words>(value); };
        const Words silver = simd::load<Words>(kSilverPixels);
        const Words dark_on = ones_where(colors > level(63));
        const Words bright_on = ones_where(colors > level(127));
        const Words dark = dark_on & level(128);
        const Words bright = bright_on & level(255);
        // Squared distances: dark of both pixels, then bright of both; and silver of both, twice.
        const Channels others = add_halves(squares(colors, dark), squares(colors, bright));
        const Channels silver_squares = squares(colors, silver);
        const Channels to_silver = add_halves(silver_squares, silver_squares);
        const Channels swapped = simd::pick<2, 3, 0, 1>(others);
        const Channels silver_less = ones_where(others > to_silver);
        const Channels other_less = ones_where(others > swapped); // in the dark half: bright is less
        const Channels use_silver = silver_less & simd::pick<2, 3, 0, 1>(silver_less);

        // Codes: dark of the upper and lower pixel, bright of both, four bits each.
        const auto codes = static_cast<uint32_t>(simd::high_bits(simd::pack(dark_on, bright_on)));
        const auto silver_ties = static_cast<uint32_t>(simd::bits(others == to_silver));
        const auto other_ties = static_cast<uint32_t>(simd::bits(others == swapped));
        const auto half_way = static_cast<uint32_t>(simd::any(colors == level(64)));
        // Without a bright channel, bright is black, which is one of the dark ones.
        const uint32_t bright_any = ((codes & 0x0700u) != 0 ? 1u : 0u) | ((codes & 0x7000u) != 0 ? 2u : 0u);
        if ((silver_ties | half_way | (other_ties & bright_any)) != 0) [[unlikely]] {
            return match_singly(match_, colors, indices);
        }
        const auto silver_bits = static_cast<uint32_t>(simd::high_bits(use_silver));
        const auto bright_bits = static_cast<uint32_t>(simd::high_bits(other_less));
        indices = {index_of(codes, silver_bits & 1u, bright_bits & 1u),
                   index_of(codes >> 4, silver_bits & 2u, bright_bits & 2u)};
        return either(use_silver, silver, either(other_less, bright, dark));
    }

private:
    alignas(16) static constexpr int16_t kSilverPixels[8] = {192, 192, 192, 0, 192, 192, 192, 0};

    static Channels squares(Words a, Words b) noexcept { return simd::mul_pairs(a - b, a - b); }
    static Channels add_halves(Channels a, Channels b) noexcept
    {
        return simd::pick<0, 2, 4, 6>(a, b) + simd::pick<1, 3, 5, 7>(a, b);
    }
    /// The pixels of `yes` whose number, the first or the second, is all ones; else those of `no`.
    static Words either(Channels ones, Words yes, Words no) noexcept
    {
        return simd::select_bits(simd::as<int16_t>(simd::interleave_low(ones, ones)), yes, no);
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
