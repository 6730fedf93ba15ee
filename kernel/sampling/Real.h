// Mixing real numbers, a sample at a time: RealWeights.h has the arithmetic, Real_vector.cpp the same for many samples.
#pragma once

#include "kernel/sampling/Mix.h"
#include "kernel/sampling/RealWeights.h"
#include "simd/Simd.h"

namespace vk::sampling {

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
    simd::Quad<float> channels;

    friend RealColor operator*(const RealColor& color, float weight) noexcept
    {
        return {color.channels * simd::all<simd::Quad<float>>(weight)};
    }
    friend RealColor operator+(const RealColor& a, const RealColor& b) noexcept { return {a.channels + b.channels}; }
};

template <class Lane, int kChannels, bool kAlpha> RealColor real_color(const uint8_t* cell) noexcept
{
    const auto channel = [cell](int c) noexcept { return static_cast<float>(lane_of<Lane>(cell, c)); };
    const RealColor color{{{channel(0), channel(1), channel(2), 1}}};
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
        simd::store(channels, color.channels);
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
