// Compositing, one channel of one pixel, in exact fractions that are rounded once, at the end, to the nearest (halves
// up). The formulas are those of the World Wide Web Consortium's recommendation "Compositing and Blending Level 1":
// chapters 9.1.4 (the operators of Porter and Duff) and 10.1 (blend modes, composited source over).
//
// All of it is whole numbers. With N the largest value of a channel, Ad and Nb the denominators of source and backdrop
// alpha, and colours already weighted by their alpha,
//
//     source    colour S / (Ad N), alpha A / Ad        A: alpha times mask times opacity
//     backdrop  colour D / (Nb N), alpha b / Nb        1 / 1 where it is opaque
//
// the operators give (S fa + D fb) / (Ad Nb N) with fa and fb the operator's fractions times Nb and Ad; its alpha is
// (A fa + b fb) / (Ad Nb). A blend mode adds its own term for where both are. Only the square root of soft light is
// not exact: it is taken to 32 bits. `Wide` is an unsigned type that holds Ad Nb N N times the mode's own denominator.
#pragma once

#include "Vkcombine.h"

#include <algorithm>
#include <cstdint>

namespace vk::combine {

/// What a mode makes of the two alphas, and how much of the source and the backdrop it keeps.
enum class Share : uint8_t { none, all, other, rest }; ///< nothing, everything, where the other is, where it is not
struct Operator {
    Share source;
    Share backdrop;
};

/// Modes without an entry of their own in the operators' table are composited source over.
constexpr bool is_blend_mode(uint32_t mode) noexcept
{
    return mode >= BLEND_MULTIPLY;
}

constexpr Operator operator_of(uint32_t mode) noexcept
{
    constexpr Operator kOperators[] = {
        {Share::all, Share::rest},   // SRC_OVER
        {Share::none, Share::none},  // CLEAR
        {Share::all, Share::none},   // SRC
        {Share::none, Share::all},   // DST
        {Share::rest, Share::all},   // DST_OVER
        {Share::other, Share::none}, // SRC_IN
        {Share::none, Share::other}, // DST_IN
        {Share::rest, Share::none},  // SRC_OUT
        {Share::none, Share::rest},  // DST_OUT
        {Share::other, Share::rest}, // SRC_ATOP
        {Share::rest, Share::other}, // DST_ATOP
        {Share::rest, Share::rest},  // XOR
        {Share::all, Share::all},    // PLUS
    };
    return is_blend_mode(mode) ? kOperators[BLEND_SRC_OVER] : kOperators[mode];
}

/// num / den to the nearest, halves up.
template <class Wide> constexpr Wide round_quotient(Wide num, Wide den) noexcept
{
    const Wide quotient = num / den;
    const Wide rest = num - quotient * den;
    return quotient + (rest >= den - rest ? 1 : 0);
}

/// 2^32 times the square root of num / den, to the nearest; num is no larger than den, which is below 2^32.
uint64_t root_32(uint32_t num, uint32_t den) noexcept;

/// How much of a pixel the source covers.
template <class Wide> struct Coverage {
    Wide alpha; ///< A
    Wide whole; ///< Ad
    Wide unit;  ///< what a premultiplied colour of N is worth: S of it is N times this
};

/// The backdrop's alpha.
struct Backdrop {
    uint32_t alpha; ///< b
    uint32_t whole; ///< Nb
};

/// A colour against its largest value, whatever it is weighted by.
struct Ratio {
    uint32_t value;
    uint32_t most;
};

/// Source and backdrop of one channel.
template <class Wide> struct Pair {
    Wide s;         ///< S
    Wide s_most;    ///< A N, what S is of a full channel
    Wide d;         ///< D
    Wide d_most;    ///< b N
    Ratio source;   ///< S / s_most, as small numbers
    Ratio backdrop; ///< D / d_most
};

/// A numerator of which a mode has made `times` as much, to have no fractions.
template <class Wide> struct Term {
    Wide value;
    Wide times;
};

/// Ad Nb N N times what a blend mode shows where both are.
template <class Wide> Term<Wide> soft_light(const Pair<Wide>& p) noexcept
{
    const Wide value = p.backdrop.value;
    const Wide most = p.backdrop.most;
    if (2 * p.s <= p.s_most) { // Cb - (1 - 2 Cs) Cb (1 - Cb)
        const Wide darker = (p.s_most - 2 * p.s) * p.d;
        return {p.d * p.s_most * most - darker * (most - value), most};
    }
    const Wide lighter = 2 * p.s - p.s_most;
    if (4 * value <= most) { // ((16 Cb - 12) Cb + 4) Cb
        const Wide inner = (16 * value * value + 4 * most * most) - 12 * value * most;
        const Wide times = most * most;
        return {p.d * p.s_most * times + lighter * (p.d * inner - p.d * times), times};
    }
    constexpr Wide kOne = Wide{1} << 32;
    const Wide root = root_32(p.backdrop.value, p.backdrop.most);
    return {p.d * p.s_most * kOne + lighter * (p.d_most * root - p.d * kOne), kOne};
}

template <class Wide> Term<Wide> color_dodge(const Pair<Wide>& p) noexcept
{
    const Wide full = p.s_most * p.d_most;
    if (p.d == 0)
        return {0, 1};
    const Wide left = p.source.most - p.source.value;
    // min(1, Cb / (1 - Cs))
    if (p.d * p.source.most >= p.d_most * left)
        return {full, 1};
    return {p.d * p.s_most * p.source.most, left};
}

template <class Wide> Term<Wide> color_burn(const Pair<Wide>& p) noexcept
{
    const Wide full = p.s_most * p.d_most;
    const Wide missing = p.d_most - p.d;
    if (missing == 0)
        return {full, 1};
    // 1 - min(1, (1 - Cb) / Cs)
    const Wide value = p.source.value;
    if (missing * p.source.most >= p.d_most * value)
        return {0, 1};
    return {full * value - missing * p.s_most * p.source.most, value};
}

template <class Wide> Term<Wide> blend_term(uint32_t mode, const Pair<Wide>& p) noexcept
{
    const Wide s_alone = p.s * p.d_most;
    const Wide d_alone = p.d * p.s_most;
    const Wide both = p.s * p.d;
    const auto lit_by = [&](bool is_dark) noexcept {
        return is_dark ? 2 * both : p.s_most * p.d_most - 2 * (p.s_most - p.s) * (p.d_most - p.d);
    };
    switch (mode) {
    case BLEND_MULTIPLY:
        return {both, 1};
    case BLEND_SCREEN:
        return {s_alone + p.d * (p.s_most - p.s), 1};
    case BLEND_OVERLAY:
        return {lit_by(2 * p.d <= p.d_most), 1};
    case BLEND_DARKEN:
        return {std::min(s_alone, d_alone), 1};
    case BLEND_LIGHTEN:
        return {std::max(s_alone, d_alone), 1};
    case BLEND_COLOR_DODGE:
        return color_dodge(p);
    case BLEND_COLOR_BURN:
        return color_burn(p);
    case BLEND_HARD_LIGHT:
        return {lit_by(2 * p.s <= p.s_most), 1};
    case BLEND_SOFT_LIGHT:
        return soft_light(p);
    case BLEND_DIFFERENCE:
        return {std::max(s_alone, d_alone) - std::min(s_alone, d_alone), 1};
    default: // EXCLUSION
        return {p.s * (p.d_most - p.d) + p.d * (p.s_most - p.s), 1};
    }
}

/// What colours are weighted by as they are stored.
struct BlendForms {
    bool is_source_premultiplied;
    bool is_backdrop_premultiplied;
    bool has_backdrop_alpha; ///< else it is opaque, and the result is what it shows over black
};

template <class Wide> class Blend {
public:
    Blend(uint32_t mode, const BlendForms& forms, const Coverage<Wide>& cover, Backdrop back) noexcept
        : mode_(mode), forms_(forms), cover_(cover), back_(back), part_(operator_of(mode)),
          from_source_(share(part_.source, Wide{back.alpha}, Wide{back.whole})),
          from_backdrop_(share(part_.backdrop, cover.alpha, cover.whole)), area_(cover.whole * back.whole),
          alpha_(std::min<Wide>(cover.alpha * from_source_ + back.alpha * from_backdrop_, area_))
    {}

    /// The alpha of the result, of `most`.
    uint32_t alpha(uint32_t most) const noexcept
    {
        return static_cast<uint32_t>(round_quotient<Wide>(alpha_ * most, area_));
    }

    /// A channel of the result. `source_most` is the source alpha's denominator of a premultiplied source.
    uint32_t channel(uint32_t source, uint32_t backdrop, uint32_t most, Ratio source_alpha) const noexcept
    {
        const bool is_straight = forms_.has_backdrop_alpha && !forms_.is_backdrop_premultiplied;
        if (is_straight && alpha_ == 0)
            return 0;
        const Wide limit = most;
        const Wide s = forms_.is_source_premultiplied ? cover_.unit * source : cover_.alpha * source;
        const Wide d = forms_.is_backdrop_premultiplied ? limit * backdrop : Wide{back_.alpha} * backdrop;
        Term<Wide> result{s * from_source_ + d * from_backdrop_, 1};
        if (is_blend_mode(mode_))
            result = blended(s, d, source, backdrop, most, source_alpha);
        const Wide whole = is_straight ? alpha_ : area_;
        result.value = std::min<Wide>(result.value, area_ * result.times * limit);
        return static_cast<uint32_t>(std::min<Wide>(round_quotient<Wide>(result.value, whole * result.times), limit));
    }

private:
    static Wide share(Share of, Wide other, Wide whole) noexcept
    {
        switch (of) {
        case Share::none:
            return 0;
        case Share::all:
            return whole;
        case Share::other:
            return other;
        default:
            return whole - other;
        }
    }

    static Ratio small_ratio(uint32_t value, uint32_t most) noexcept
    {
        while (most > 0xFFFF) {
            value >>= 1;
            most >>= 1;
        }
        return {value, most};
    }

    /// Where only one of them is that one shows, and where both are what the mode makes of them.
    Term<Wide> blended(Wide s, Wide d, uint32_t source, uint32_t backdrop, uint32_t most,
                       Ratio source_alpha) const noexcept
    {
        const Wide limit = most;
        Pair<Wide> pair{};
        pair.s_most = cover_.alpha * limit;
        pair.s = std::min(s, pair.s_most);
        pair.d_most = Wide{back_.alpha} * limit;
        pair.d = std::min(d, pair.d_most);
        pair.source = small_ratio(source, most);
        if (forms_.is_source_premultiplied) { // weighted by an alpha that may have another denominator
            const uint32_t full = source_alpha.value * pair.source.most;
            pair.source = {std::min(pair.source.value * source_alpha.most, full), full};
        }
        pair.backdrop = small_ratio(backdrop, most);
        if (forms_.is_backdrop_premultiplied)
            pair.backdrop = {std::min(backdrop, back_.alpha), back_.alpha};
        Term<Wide> term{0, 1};
        if (pair.s_most != 0 && pair.d_most != 0)
            term = blend_term(mode_, pair);
        const Wide apart = pair.s * (Wide{back_.whole} - back_.alpha) + pair.d * (cover_.whole - cover_.alpha);
        return {apart * limit * term.times + term.value, term.times * limit};
    }

    const uint32_t mode_;
    const BlendForms forms_;
    const Coverage<Wide> cover_;
    const Backdrop back_;
    const Operator part_;
    const Wide from_source_;   ///< fa
    const Wide from_backdrop_; ///< fb
    const Wide area_;          ///< Ad Nb
    const Wide alpha_;         ///< of the result, of area_
};

} // namespace vk::combine
