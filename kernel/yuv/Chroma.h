// Where chroma stands between pixels: which samples a pixel lies between, and how far from each; all in whole numbers.
#pragma once

#include "Vkyuv.h"

#include <algorithm>
#include <cstdint>

namespace vk::yuv {

/// How chroma lies along a row or a column.
struct Siting {
    int32_t step; ///< pixels for a sample
    bool centered;

    /// The weights of a blend add up to 1 << this.
    constexpr int32_t shift() const noexcept { return step == 1 ? 0 : step == 2 ? 2 : 3; }
    /// So do those of a filter.
    constexpr int32_t filter_shift() const noexcept
    {
        const int32_t once = step == 1 ? 0 : step == 2 ? 1 : 2;
        return centered ? once : 2 * once;
    }
    /// What pixel j of a sample's pixels takes of the sample and of the one before or behind it.
    constexpr int32_t offset(int32_t j) const noexcept { return step == 1 ? 0 : centered ? 2 * j - (step - 1) : 2 * j; }
    constexpr int32_t other_weight(int32_t j) const noexcept { return offset(j) < 0 ? -offset(j) : offset(j); }
    constexpr int32_t own_weight(int32_t j) const noexcept { return (1 << shift()) - other_weight(j); }
    constexpr int32_t other_side(int32_t j) const noexcept { return offset(j) < 0 ? -1 : 1; }
    /// The reach of a filter to either side of the first of a sample's pixels, and its weights.
    constexpr int32_t first() const noexcept { return centered ? 0 : 1 - step; }
    constexpr int32_t filter_weight(int32_t i) const noexcept { return centered ? 1 : step - (i < 0 ? -i : i); }
};

/// The two rows of samples that a row of pixels lies between.
struct RowBlend {
    uint32_t own, other;
    uint16_t own_weight, other_weight;
};

constexpr RowBlend row_blend(const Siting& siting, uint32_t row, uint32_t samples) noexcept
{
    const auto step = static_cast<uint32_t>(siting.step);
    const uint32_t own = row / step;
    const auto j = static_cast<int32_t>(row % step);
    const uint32_t other = siting.other_side(j) < 0 ? std::max(own, 1u) - 1 : std::min(own + 1, samples - 1);
    return {own, other, static_cast<uint16_t>(siting.own_weight(j)), static_cast<uint16_t>(siting.other_weight(j))};
}

} // namespace vk::yuv
