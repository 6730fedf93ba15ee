// The arithmetic of mixing real numbers, which the loops of Real.cpp and RealLanes.h follow to the bit: products and
// sums are rounded one by one, in the order that stands here.
//
// Colours and the levels of gray palettes are floats, grays and the indices of two colours doubles, which hold samples
// of 32 bits. Of a row of cells each is weighted, then the row; the first weights are 1 - f and f for two, cubic
// convolution with the parameter -1/2 for four. Colours with alpha are multiplied by it, so that transparent pixels do
// not bleed into others; no alpha is quite 0, so where all are transparent, and in pictures whose fourth byte means
// nothing, colours still count evenly. A constant picture comes back to the bit.
#pragma once

#include "kernel/sampling/Mix.h"

#include <emmintrin.h>

namespace vk::sampling {

/// What an alpha has in addition: too little to be seen beside the least alpha there is.
constexpr float kAlphaSpare = 1.0F / 1024;
/// The least sum of alphas that colours are divided by.
constexpr float kLeastAlpha = kAlphaSpare / 4;

constexpr uint32_t kLineOne = 1u << kLineBits;

/// The weights of the cells around a position, `f` behind the first, or the second of four. `Real` may be a vector, and
/// `number` makes one.
template <class Real, class Number> void real_weights(Real f, const Number& number, Real (&of)[2]) noexcept
{
    of[0] = number(1) - f;
    of[1] = f;
}
template <class Real, class Number> void real_weights(Real f, const Number& number, Real (&of)[4]) noexcept
{
    of[0] = ((number(2) - f) * f - number(1)) * f * number(0.5);
    of[1] = ((number(3) * f - number(5)) * f * f + number(2)) * number(0.5);
    of[2] = ((number(4) - number(3) * f) * f + number(1)) * f * number(0.5);
    of[3] = (f - number(1)) * f * f * number(0.5);
}

/// The fractions of sample i, as numbers.
template <class Real> struct RealFractions {
    Real x;
    Real y;

    explicit RealFractions(const Line& at) noexcept : x(number(at.x)), y(number(at.y)) {}

    /// The nearest of four cells, in the order of rows.
    size_t nearest() const noexcept { return (x > Real{0.5}) + 2 * size_t{y > Real{0.5}}; }

private:
    static Real number(uint32_t position) noexcept
    {
        return static_cast<Real>(static_cast<int32_t>(position & (kLineOne - 1))) / static_cast<Real>(kLineOne);
    }
};

/// Blue, green, red and alpha.
struct RealColor {
    __m128 channels;

    friend RealColor operator*(const RealColor& color, float weight) noexcept
    {
        return {_mm_mul_ps(color.channels, _mm_set1_ps(weight))};
    }
    friend RealColor operator+(const RealColor& a, const RealColor& b) noexcept
    {
        return {_mm_add_ps(a.channels, b.channels)};
    }
};

template <class Lane, int kChannels, bool kAlpha> RealColor real_color(const uint8_t* cell) noexcept
{
    const auto channel = [cell](int c) noexcept { return static_cast<float>(lane_of<Lane>(cell, c)); };
    const RealColor color{_mm_setr_ps(channel(0), channel(1), channel(2), 1)};
    if constexpr (kAlpha)
        return color * (channel(kChannels - 1) + kAlphaSpare);
    return color;
}

/// The sum of weighted cells.
template <int kTaps, class Value, class Real, class Read>
Value real_sum(const RealFractions<Real>& f, const Read& read) noexcept
{
    const auto number = [](double value) noexcept { return static_cast<Real>(value); };
    Real across[kTaps];
    Real down[kTaps];
    real_weights(f.x, number, across);
    real_weights(f.y, number, down);
    Value sum{};
    for (size_t j = 0; j < kTaps; ++j) {
        Value row = read(kTaps * j) * across[0];
        for (size_t i = 1; i < kTaps; ++i)
            row = row + read(kTaps * j + i) * across[i];
        sum = sum + row * down[j];
    }
    return sum;
}

/// A mixed channel as stored: of `steps` levels where these are fewer than `most`.
inline uint32_t real_level(float value, uint32_t most, uint32_t steps) noexcept
{
    const float clipped = std::clamp(value, 0.0F, static_cast<float>(most));
    if (steps == 0)
        return static_cast<uint32_t>(clipped + 0.5F);
    const auto level = static_cast<uint32_t>(clipped * (static_cast<float>(steps) / static_cast<float>(most)) + 0.5F);
    return (level * most + steps / 2) / steps;
}

/// Mixes cells: four, or sixteen.
template <class Lane, int kChannels, bool kAlpha, int kTaps>
void mix_real(const uint8_t* const (&cells)[kTaps * kTaps], const Line& at, const CellKind& kind, uint8_t* out) noexcept
{
    size_t nearest = 0;
    if (kChannels == 1 && kind.is_level) {
        const RealFractions<float> f(at);
        const float value = real_sum<kTaps, float>(
            f, [&](size_t i) noexcept { return static_cast<float>(lane_of<Lane>(cells[i], 0)); });
        put_lane<Lane>(out, 0, real_level(value, kind.most, 0));
    } else if constexpr (kChannels == 1) {
        const RealFractions<double> f(at);
        nearest = f.nearest();
        const double value = real_sum<kTaps, double>(
            f, [&](size_t i) noexcept { return static_cast<double>(lane_of<Lane>(cells[i], 0)); });
        put_lane<Lane>(out, 0, static_cast<uint32_t>(std::clamp(value + 0.5, 0.0, double{1} * kind.most)));
    } else {
        const RealFractions<float> f(at);
        nearest = f.nearest();
        const RealColor color = real_sum<kTaps, RealColor>(
            f, [&](size_t i) noexcept { return real_color<Lane, kChannels, kAlpha>(cells[i]); });
        float channels[4];
        _mm_storeu_ps(channels, color.channels);
        const float scale = kAlpha ? 1 / std::max(channels[3], kLeastAlpha) : 1;
        for (int c = 0; c < 3; ++c)
            put_lane<Lane>(out, c, real_level(channels[c] * scale, kind.most, kind.steps[c]));
        if (kAlpha)
            put_lane<Lane>(out, kChannels - 1, real_level(channels[3], kind.most, 0));
    }
    constexpr size_t kFirst = kTaps == 4 ? 5 : 0;
    carry<Lane, kChannels>(kind, cells[kFirst + nearest % 2 + nearest / 2 * kTaps], out);
}

} // namespace vk::sampling
