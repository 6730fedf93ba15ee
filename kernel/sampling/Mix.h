// The arithmetic of mixing, which every loop follows to the bit.
//
// Linear: the weights of four cells are products of the two fractions, 14 bits of them for numbers of a byte, 32 for
// wider ones, and add up to one exactly; the sum is rounded once, halves up.
//
// Cubic: convolution with the parameter -1/2. For numbers of a byte weights have 14 bits, and rows are rounded to 6
// bits behind the point before they are weighted; wider numbers have weights of 22 bits. Sums are clamped to the range
// of the numbers.
//
// Alpha: colours are weighted with their alpha as well: the sum of weight * alpha * colour divided by that of weight *
// alpha, halves up. Where that is not positive, and in cubic mixing where all alphas are equal, colours are mixed like
// any others.
#pragma once

#include "kernel/sampling/Loops.h"

#include <algorithm>
#include <cstring>
#include <type_traits>

namespace vk::sampling {

/// Behind the first of the cells to be mixed, or the second of four: 0 to 65535 of 65536.
struct Fractions {
    uint32_t x;
    uint32_t y;
};

constexpr int kWeightBits = 14;
constexpr int kRowBits = 6; ///< that a row of a cubic sum keeps behind the point
constexpr int kWideBits = 22;

/// The weights of four cells, in the order of rows, of numbers of a byte.
struct NarrowWeights {
    uint32_t of[4];
    static constexpr int kBits = kWeightBits;

    explicit NarrowWeights(const Fractions& f) noexcept : of{}
    {
        constexpr uint32_t kUnit = 1u << kBits;
        constexpr int kDropped = kFractionBits - kBits;
        const uint32_t x = (f.x + (1u << (kDropped - 1))) >> kDropped;
        const uint32_t y = (f.y + (1u << (kDropped - 1))) >> kDropped;
        of[3] = (x * y + kUnit / 2) >> kBits;
        of[2] = y - of[3];
        of[1] = x - of[3];
        of[0] = kUnit - y - of[1];
    }
};

/// The same of wider numbers.
struct WideWeights {
    uint64_t of[4];
    static constexpr int kBits = 2 * kFractionBits;

    explicit WideWeights(const Fractions& f) noexcept : of{}
    {
        constexpr uint64_t kUnit = uint64_t{1} << kFractionBits;
        of[0] = (kUnit - f.x) * (kUnit - f.y);
        of[1] = f.x * (kUnit - f.y);
        of[2] = (kUnit - f.x) * f.y;
        of[3] = uint64_t{f.x} * f.y;
    }
};

template <class Lane> using LinearWeights = std::conditional_t<sizeof(Lane) == 1, NarrowWeights, WideWeights>;

/// The four weights of cubic convolution for numbers of a byte, which add up to one. With f and g = 1 - f they are
/// -f g g / 2, what is left, f + f g (3 f - 1) / 2, and -f f g / 2.
struct NarrowCubic {
    int32_t of[4];

    explicit NarrowCubic(uint32_t fraction) noexcept : of{}
    {
        constexpr int kHalfBits = 18; // that f g / 2 has; times a fraction it is below 2^31
        constexpr int kDropped = kHalfBits + kFractionBits - kWeightBits;
        const auto f = static_cast<int32_t>(fraction);
        const int32_t g = kOne - f;
        const int32_t half = f * g >> (2 * kFractionBits + 1 - kHalfBits);
        const auto rounded = [](int32_t weight) noexcept { return (weight + (1 << (kDropped - 1))) >> kDropped; };
        of[0] = 0 - rounded(half * g);
        of[2] = ((f + 2) >> (kFractionBits - kWeightBits)) + rounded(half * (3 * f - kOne));
        of[3] = 0 - rounded(half * f);
        of[1] = (1 << kWeightBits) - of[0] - of[2] - of[3];
    }
};

/// The same for wider numbers.
struct WideCubic {
    int64_t of[4];

    explicit WideCubic(uint32_t fraction) noexcept : of{}
    {
        constexpr int kDropped = 3 * kFractionBits + 1 - kWideBits;
        const int64_t f = fraction;
        const int64_t g = kOne - f;
        const auto rounded = [](int64_t weight) noexcept {
            return (weight + (int64_t{1} << (kDropped - 1))) >> kDropped;
        };
        of[0] = 0 - rounded(f * g * g);
        of[2] = rounded(2 * f * kOne * kOne + f * g * (3 * f - kOne));
        of[3] = 0 - rounded(f * f * g);
        of[1] = (int64_t{1} << kWideBits) - of[0] - of[2] - of[3];
    }
};

template <class Lane> uint32_t lane_of(const uint8_t* cell, int channel) noexcept
{
    Lane value;
    std::memcpy(&value, cell + static_cast<size_t>(channel) * sizeof value, sizeof value);
    return value;
}

template <class Lane> void put_lane(uint8_t* cell, int channel, uint64_t number) noexcept
{
    const auto value = static_cast<Lane>(number);
    std::memcpy(cell + static_cast<size_t>(channel) * sizeof value, &value, sizeof value);
}

/// Nearer to the second of two; in the middle the first is nearest.
inline bool is_second(uint32_t fraction) noexcept
{
    return fraction > 1u << (kFractionBits - 1);
}

/// What is behind the channels comes from the nearest cell.
template <class Lane, int kChannels> void carry(const CellKind& kind, const uint8_t* nearest, uint8_t* out) noexcept
{
    constexpr auto kMixed = static_cast<size_t>(kChannels) * sizeof(Lane);
    if (kind.carried)
        std::memcpy(out + kMixed, nearest + kMixed, static_cast<size_t>(kind.size) - kMixed);
}

/// Mixes four cells.
template <class Lane, int kChannels, bool kAlpha>
void mix_linear(const uint8_t* const (&cells)[4], const Fractions& f, const CellKind& kind, uint8_t* out) noexcept
{
    using Sum = std::conditional_t<sizeof(Lane) == 1, uint32_t, uint64_t>;
    const LinearWeights<Lane> weights(f);
    constexpr int kBits = LinearWeights<Lane>::kBits;
    const auto rounded = [](Sum sum) noexcept { return (sum + (Sum{1} << (kBits - 1))) >> kBits; };
    Sum sums[kChannels] = {};
    for (size_t i = 0; i < 4; ++i)
        for (int c = 0; c < kChannels; ++c)
            sums[c] += static_cast<Sum>(weights.of[i]) * lane_of<Lane>(cells[i], c);
    const Sum alpha = kAlpha ? sums[kChannels - 1] : 0;
    for (int c = 0; c < kChannels; ++c) {
        Sum value = rounded(sums[c]);
        if (kAlpha && c < kChannels - 1 && alpha > 0) {
            Sum product = 0;
            for (size_t i = 0; i < 4; ++i)
                product += static_cast<Sum>(weights.of[i]) * lane_of<Lane>(cells[i], kChannels - 1) *
                           lane_of<Lane>(cells[i], c);
            value = (product + alpha / 2) / alpha;
        }
        put_lane<Lane>(out, c, value);
    }
    carry<Lane, kChannels>(kind, cells[is_second(f.x) + 2 * is_second(f.y)], out);
}

/// The sum of sixteen numbers by weights of kWideBits, of which rows lose `dropped` bits.
template <class Number>
int64_t wide_sum(const WideCubic& across, const WideCubic& down, int dropped, const Number& number) noexcept
{
    int64_t sum = 0;
    for (size_t j = 0; j < 4; ++j) {
        int64_t row = 0;
        for (size_t i = 0; i < 4; ++i)
            row += across.of[i] * static_cast<int64_t>(number(4 * j + i));
        sum += down.of[j] * ((row + (int64_t{1} << dropped >> 1)) >> dropped);
    }
    return sum;
}

inline uint64_t clamped(int64_t value, uint32_t most) noexcept
{
    return static_cast<uint64_t>(std::clamp<int64_t>(value, 0, most));
}

/// One channel of sixteen cells, not clamped.
template <class Lane> int64_t cubic_channel(const uint8_t* const (&cells)[16], const Fractions& f, int channel) noexcept
{
    const auto number = [&](size_t i) noexcept { return lane_of<Lane>(cells[i], channel); };
    if constexpr (sizeof(Lane) == 1) {
        const NarrowCubic across(f.x);
        const NarrowCubic down(f.y);
        int32_t sum = 0;
        for (size_t j = 0; j < 4; ++j) {
            int32_t row = 0;
            for (size_t i = 0; i < 4; ++i)
                row += across.of[i] * static_cast<int32_t>(number(4 * j + i));
            constexpr int kDropped = kWeightBits - kRowBits;
            sum += down.of[j] * ((row + (1 << (kDropped - 1))) >> kDropped);
        }
        constexpr int kRest = kWeightBits + kRowBits;
        return (sum + (1 << (kRest - 1))) >> kRest;
    } else {
        // Numbers of 32 bits leave 62 - 32 - 22 bits for the second weight.
        constexpr int kDropped = sizeof(Lane) == 4 ? 16 : 0;
        constexpr int kRest = 2 * kWideBits - kDropped;
        const int64_t sum = wide_sum(WideCubic(f.x), WideCubic(f.y), kDropped, number);
        return (sum + (int64_t{1} << (kRest - 1))) >> kRest;
    }
}

/// Mixes sixteen cells.
template <class Lane, int kChannels, bool kAlpha>
void mix_cubic(const uint8_t* const (&cells)[16], const Fractions& f, const CellKind& kind, uint8_t* out) noexcept
{
    constexpr int kDropped = 16;
    bool is_even = true;
    for (size_t i = 1; kAlpha && i < 16; ++i)
        is_even = is_even && lane_of<Lane>(cells[i], kChannels - 1) == lane_of<Lane>(cells[0], kChannels - 1);
    const auto alpha_of = [&](size_t i) noexcept { return uint64_t{lane_of<Lane>(cells[i], kChannels - 1)}; };
    const WideCubic across(f.x);
    const WideCubic down(f.y);
    const int64_t alpha = is_even ? 0 : wide_sum(across, down, kDropped, alpha_of);
    for (int c = 0; c < kChannels; ++c) {
        if (c == kChannels - 1 || alpha <= 0) {
            put_lane<Lane>(out, c, clamped(cubic_channel<Lane>(cells, f, c), kind.most));
            continue;
        }
        const int64_t product = wide_sum(across, down, kDropped,
                                         [&](size_t i) noexcept { return alpha_of(i) * lane_of<Lane>(cells[i], c); });
        put_lane<Lane>(out, c, product > 0 ? clamped((product + alpha / 2) / alpha, kind.most) : 0);
    }
    carry<Lane, kChannels>(kind, cells[5 + is_second(f.x) + 4 * is_second(f.y)], out);
}

/// Calls `run` with the kind's types: run.template operator()<Lane, channels, alpha>(arguments).
template <class Run, class... Arguments>
auto with_kind(const CellKind& kind, const Run& run, Arguments&&... arguments) noexcept
{
    if (kind.lane_bytes == 4)
        return run.template operator()<uint32_t, 1, false>(arguments...);
    if (kind.lane_bytes == 2)
        return kind.channels == 1   ? run.template operator()<uint16_t, 1, false>(arguments...)
               : kind.channels == 3 ? run.template operator()<uint16_t, 3, false>(arguments...)
                                    : run.template operator()<uint16_t, 4, true>(arguments...);
    return kind.channels == 1   ? run.template operator()<uint8_t, 1, false>(arguments...)
           : kind.channels == 3 ? run.template operator()<uint8_t, 3, false>(arguments...)
                                : run.template operator()<uint8_t, 4, true>(arguments...);
}

} // namespace vk::sampling
