// The plain loops behind Kernels.h, for each level to compile for itself: in a namespace without name, so that none is
// taken for that of another level.
#pragma once

#include "kernel/yuv/Kernels.h"
#include "kernel/yuv/Samples.h"

namespace vk::yuv {

namespace {

[[maybe_unused]] void blend_loop(const uint8_t* own, const uint8_t* other, const RowBlend& blend,
                                 uint16_t* __restrict to, size_t n) noexcept
{
    const uint16_t a = blend.own_weight, b = blend.other_weight;
    for (size_t i = 0; i < n; ++i)
        to[i] = static_cast<uint16_t>(own[i] * a + other[i] * b);
}

[[maybe_unused]] void blend_pairs_loop(const uint8_t* own, const uint8_t* other, const RowBlend& blend,
                                       uint16_t* __restrict first, uint16_t* __restrict second, size_t n) noexcept
{
    const uint16_t a = blend.own_weight, b = blend.other_weight;
    for (size_t i = 0; i < n; ++i) {
        first[i] = static_cast<uint16_t>(own[2 * i] * a + other[2 * i] * b);
        second[i] = static_cast<uint16_t>(own[2 * i + 1] * a + other[2 * i + 1] * b);
    }
}

/// A step and a siting as constants, so that each pixel's weights are.
template <int32_t kStep, bool kCentered, class Sample>
void spread_steps(const Sample* __restrict from, size_t n, int32_t shift, Sample* __restrict to) noexcept
{
    constexpr Siting kSiting{kStep, kCentered};
    for (size_t k = 0; k < n; ++k)
        for (int32_t j = 0; j < kStep; ++j) {
            const uint32_t other = from[static_cast<ptrdiff_t>(k) + kSiting.other_side(j)];
            const uint32_t sum = from[k] * static_cast<uint32_t>(kSiting.own_weight(j)) +
                                 other * static_cast<uint32_t>(kSiting.other_weight(j));
            to[k * kStep + static_cast<size_t>(j)] = static_cast<Sample>(sum << shift);
        }
}

template <class Sample>
void spread_loop(const Sample* from, size_t n, const Siting& siting, int32_t shift, Sample* to) noexcept
{
    if (siting.step == 1)
        return spread_steps<1, false>(from, n, shift, to);
    if (siting.step == 2)
        return siting.centered ? spread_steps<2, true>(from, n, shift, to) : spread_steps<2, false>(from, n, shift, to);
    return siting.centered ? spread_steps<4, true>(from, n, shift, to) : spread_steps<4, false>(from, n, shift, to);
}

[[maybe_unused]] void to_bgr_loop(const uint8_t* y, const uint16_t* u, const uint16_t* v, size_t n, const ToBytes& f,
                                  uint8_t* bgr, bool) noexcept
{
    for (size_t x = 0; x < n; ++x)
        color_bytes(f, y[x], u[x], v[x], bgr + 3 * x);
}

[[maybe_unused]] void split_loop(const uint8_t* bgr, size_t n, uint8_t* __restrict b, uint8_t* __restrict g,
                                 uint8_t* __restrict r) noexcept
{
    for (size_t x = 0; x < n; ++x) {
        b[x] = bgr[3 * x];
        g[x] = bgr[3 * x + 1];
        r[x] = bgr[3 * x + 2];
    }
}

[[maybe_unused]] void luma_loop(const uint8_t* b, const uint8_t* g, const uint8_t* r, size_t n, const FromBytes& f,
                                uint8_t* y) noexcept
{
    for (size_t x = 0; x < n; ++x)
        y[x] = static_cast<uint8_t>(f.luma(b[x], g[x], r[x]));
}

[[maybe_unused]] void add_loop(const uint8_t* first, const uint8_t* second, size_t n, uint16_t* __restrict sum,
                               bool more) noexcept
{
    for (size_t x = 0; x < n; ++x)
        sum[x] = static_cast<uint16_t>((more ? sum[x] : 0) + first[x] + (second ? second[x] : 0));
}

/// Sums of a row, filtered.
template <class Factor, class Sum> Factor filtered(const Sum* from, const Siting& siting) noexcept
{
    Factor sum = 0;
    for (int32_t i = siting.first(); i < siting.step; ++i)
        sum += static_cast<Factor>(from[i]) * siting.filter_weight(i);
    return sum;
}

template <class Factor, class Sum, class Sample>
void chroma_loop(const Sum* b, const Sum* g, const Sum* r, size_t n, const Siting& siting, const FromColors<Factor>& f,
                 int32_t shift, Sample* u, Sample* v) noexcept
{
    const auto step = static_cast<size_t>(siting.step);
    for (size_t k = 0; k < n; ++k) {
        const auto blue = filtered<Factor>(b + k * step, siting);
        const auto green = filtered<Factor>(g + k * step, siting);
        const auto red = filtered<Factor>(r + k * step, siting);
        u[k] = static_cast<Sample>(f.chroma(f.u, blue, green, red, shift));
        v[k] = static_cast<Sample>(f.chroma(f.v, blue, green, red, shift));
    }
}

[[maybe_unused]] void interleave_loop(const uint8_t* first, const uint8_t* second, size_t n,
                                      uint8_t* __restrict pairs) noexcept
{
    for (size_t i = 0; i < n; ++i) {
        pairs[2 * i] = first[i];
        pairs[2 * i + 1] = second[i];
    }
}

} // namespace

} // namespace vk::yuv
