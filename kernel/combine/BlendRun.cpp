#include "kernel/combine/BlendRun.h"

#include "kernel/combine/Rest.h"
#include "simd/Level.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace vk::combine {

namespace {

__extension__ typedef unsigned __int128 Wide128; // NOLINT: no alias can say that it is an extension

constexpr uint32_t kFullOpacity = 65535;

uint64_t bit_of(int32_t column, int32_t bits) noexcept
{
    return static_cast<uint64_t>(column) * static_cast<uint32_t>(bits);
}

} // namespace

uint64_t root_32(uint32_t num, uint32_t den) noexcept
{
    // Twice the root, cut off; its last bit then rounds.
    const Wide128 square = (Wide128{num} << 66) / den;
    auto root = static_cast<uint64_t>(std::sqrt(static_cast<double>(num) / den) * 8589934592.0);
    while (Wide128{root} * root > square)
        --root;
    while (Wide128{root + 1} * (root + 1) <= square)
        ++root;
    return (root + 1) >> 1;
}

void BlendRun::choose_forms(const BITMAPHANDLE& to, const BITMAPHANDLE& from) noexcept
{
    const PixelForm own = form_of(to);
    const bool is_ramp = same_form(own, gray_form());
    by_palette_ = own.indexed() && !own.gray_levels() && !(is_ramp && same_form(form_of(from), own));
    form_ = by_palette_ ? color_form() : own;
    if (form_.indexed())
        form_.order = COLORORDER_GRAY; // a ramp under a gray source is gray levels
    is_signed_ = form_.deep_gray() && to.Flags & BITMAPFLAG_SIGNED;
    lanes_ = lane_form(form_);
    const bool has_alpha = !by_palette_ && lanes_.has_alpha && !request_.has(BLEND_OPAQUE_DST);
    how_ = {request_.has(BLEND_PREMULTIPLIED_SRC), has_alpha && request_.has(BLEND_PREMULTIPLIED_DST), has_alpha};
}

/// Whether the fractions fit, by the largest that all factors together can be.
void BlendRun::choose_width() noexcept
{
    const double most = *std::max_element(lanes_.most, lanes_.most + 3);
    const double opacity = request_.opacity == kFullOpacity ? 1 : kFullOpacity;
    const double backdrop = how_.has_backdrop_alpha ? lanes_.alpha_most : 1;
    double own = 1;
    if (request_.mode == BLEND_SOFT_LIGHT)
        own = std::max(4294967296.0, std::min(most, 65535.0) * std::min(most, 65535.0));
    else if (request_.mode == BLEND_COLOR_DODGE || request_.mode == BLEND_COLOR_BURN)
        own = std::min(most, 65535.0) * (how_.is_source_premultiplied ? alpha_most_ : 1);
    const double whole = alpha_most_ * static_cast<double>(mask_.most()) * opacity;
    const auto bits = [&](double coverage) noexcept {
        return std::log2(coverage) + std::log2(backdrop) + 2 * std::log2(most) + std::log2(own);
    };
    is_coarse_ = bits(whole) > 128;
    is_wide_ = bits(whole) > 64;
}

int BlendRun::open(const BITMAPHANDLE& to, const BITMAPHANDLE& from, const BITMAPHANDLE* mask, uint64_t pixels) noexcept
{
    choose_forms(to, from);
    mask_.open(mask);
    int result = converter_.open(from, form_, pixels);
    if (result == V_SUCCESS && by_palette_)
        result = colors_.open(to, pixels);
    own_alpha_ = lanes_.has_alpha; // conversion has brought it
    if (result == V_SUCCESS)
        result = alpha_.open(from);
    if (result != V_SUCCESS)
        return result;
    const bool is_opaque = request_.has(BLEND_OPAQUE_SRC) || alpha_.is_opaque();
    alpha_most_ = is_opaque ? 1 : own_alpha_ ? lanes_.alpha_most : alpha_.most();
    if (is_opaque)
        how_.is_source_premultiplied = false;
    choose_width();
    choose_fast();
    const bool is_paired = by_palette_ && !mask_.is_open() && PalettePairs::are_pairs(to, from, pixels);
    return is_paired ? pairs_.open(converter_, colors_) : V_SUCCESS;
}

/// Source over, at 8 bits a channel: alpha on both sides and nothing else, or a mask of 8 bits and nothing else.
void BlendRun::choose_fast() noexcept
{
    fast_ = Fast::none;
    const bool is_bytes = form_.gray_levels() || form_.bits == 24 || (form_.bits == 32 && lanes_.has_alpha);
    if (request_.mode != BLEND_SRC_OVER || request_.opacity != kFullOpacity || by_palette_ || !is_bytes)
        return;
    const bool is_premultiplied = how_.is_source_premultiplied;
    if (form_.bits == 32) {
        if (alpha_most_ == 255 && how_.has_backdrop_alpha && !mask_.is_open() &&
            is_premultiplied == how_.is_backdrop_premultiplied)
            fast_ = is_premultiplied ? Fast::over_premultiplied : Fast::over_straight;
    } else if (alpha_most_ == 1 && mask_.bits() == 8) {
        fast_ = Fast::mix;
    }
}

template <class Wide> Coverage<Wide> BlendRun::coverage(uint32_t alpha, uint32_t mask) const noexcept
{
    const bool is_full = request_.opacity == kFullOpacity;
    const Wide part = Wide{mask} * (is_full ? 1 : request_.opacity);
    const Wide whole = Wide{mask_.most()} * (is_full ? 1 : kFullOpacity);
    if (!is_coarse_)
        return {part * alpha, whole * alpha_most_, part * alpha_most_};
    const auto coarse = [&](Wide value) noexcept {
        return round_quotient<Wide>(value * kFullOpacity, whole * alpha_most_);
    };
    return {coarse(part * alpha), kFullOpacity, coarse(part * alpha_most_)};
}

template <class Wide> void BlendRun::blend_lanes(const PixelLanes* from, PixelLanes* to, int32_t count) const noexcept
{
    for (int32_t i = 0; i < count; ++i) {
        const uint32_t alpha = alphas_[i];
        const Backdrop back = how_.has_backdrop_alpha ? Backdrop{to[i].alpha, lanes_.alpha_most} : Backdrop{1, 1};
        const Blend<Wide> blend(request_.mode, how_, coverage<Wide>(alpha, masks_[i]), back);
        for (int channel = 0; channel < lanes_.channels; ++channel)
            to[i].value[channel] =
                blend.channel(from[i].value[channel], to[i].value[channel], lanes_.most[channel], {alpha, alpha_most_});
        if (how_.has_backdrop_alpha)
            to[i].alpha = blend.alpha(lanes_.alpha_most);
    }
}

/// Pixels in the form in which they are blended, under masks_ and, unless it is theirs, with alphas_.
void BlendRun::blend_pixels(const uint8_t* from, uint8_t* to, int32_t count) noexcept
{
    unpack_lanes(form_, is_signed_, from, count, from_lanes_);
    unpack_lanes(form_, is_signed_, to, count, to_lanes_);
    if (alpha_most_ == 1)
        std::fill_n(alphas_, count, uint16_t{1});
    else if (own_alpha_)
        std::transform(from_lanes_, from_lanes_ + count, alphas_,
                       [](const PixelLanes& pixel) noexcept { return static_cast<uint16_t>(pixel.alpha); });
    if (is_wide_)
        blend_lanes<Wide128>(from_lanes_, to_lanes_, count);
    else
        blend_lanes<uint64_t>(from_lanes_, to_lanes_, count);
    pack_lanes(form_, is_signed_, to_lanes_, count, to);
}

void BlendRun::run_chunk(Line to, Line from, Line mask, int32_t count) noexcept
{
    const uint64_t place = bit_of(to.column, form_.bits);
    const uint64_t length = bit_of(count, form_.bits);
    uint8_t* const packed = by_palette_ ? colors_.look_up(to, count) : packed_;
    if (!by_palette_)
        copy_bits(packed_, 0, to.data, place, length, bit_order(form_.bits));
    mask_.take(mask, count, masks_);
    if (alpha_most_ != 1 && !own_alpha_)
        alpha_.take(from, count, alphas_);
    blend_pixels(source_.take(from, count), packed, count);
    if (by_palette_)
        colors_.match(to, count);
    else
        copy_bits(to.data, place, packed_, 0, length, bit_order(form_.bits));
}

void BlendRun::run_pairs(Line to, Line from, int32_t count) noexcept
{
    pairs_.run(to, from, count, [this](const uint8_t* other, uint8_t* colors, int32_t asked) noexcept {
        mask_.take({}, asked, masks_);
        blend_pixels(other, colors, asked);
    });
}

BlendLoop* BlendRun::fast_loop(simd::Level highest) const noexcept
{
    const BlendLoops* const loops = blend_loops_sets.at(highest);
    if (!loops)
        return nullptr;
    switch (fast_) {
    case Fast::mix:
        return form_.bits == 8 ? loops->mix_gray : loops->mix_24;
    case Fast::over_straight:
        return loops->over_straight;
    case Fast::over_premultiplied:
        return loops->over_premultiplied;
    default:
        return nullptr;
    }
}

/// Up to kChunk pixels, and with no conversion before them all there are.
void BlendRun::run_fast(BlendLoop* loop, Line to, Line from, Line mask, int32_t count) noexcept
{
    const auto all = static_cast<size_t>(count);
    const auto bytes = static_cast<size_t>(form_.bits / 8);
    const RestOf rows{source_.take(from, count), to.data + bytes * static_cast<uint32_t>(to.column),
                      mask.data ? mask.data + mask.column : nullptr};
    const size_t done = loop(rows.from, rows.to, rows.mask, all);
    if (done < all)
        run_rest({rows.from + bytes * done, rows.to + bytes * done, rows.mask ? rows.mask + done : nullptr}, all - done,
                 bytes,
                 [loop](const RestOf& rest, size_t room) noexcept { loop(rest.from, rest.to, rest.mask, room); });
}

void BlendRun::run(Line to, Line from, Line mask, int32_t count) noexcept
{
    const auto moved = [](Line line, int32_t by) noexcept { return Line{line.data, line.column + by}; };
    BlendLoop* const loop = fast_loop(simd::level());
    if (loop && converter_.moves_bits())
        return run_fast(loop, to, from, mask, count);
    for (int32_t done = 0; done < count; done += kChunk) {
        const int32_t some = std::min(count - done, kChunk);
        if (loop)
            run_fast(loop, moved(to, done), moved(from, done), moved(mask, done), some);
        else if (pairs_.is_open())
            run_pairs(moved(to, done), moved(from, done), some);
        else
            run_chunk(moved(to, done), moved(from, done), moved(mask, done), some);
    }
}

} // namespace vk::combine
