// The significant bits of a gray sample, as a record's BitsPerPixel, LowBit and HighBit give them. A range that leaves
// the sample is cut to it; a negative high bit means the sample's highest.
#pragma once

#include <algorithm>
#include <cstdint>

namespace vk {

struct GrayParams {
    uint32_t mask = 0xFF; ///< of the value, after the shift
    int32_t shift = 0;
    int32_t bits = 8; ///< 1 to 32

    constexpr bool operator==(const GrayParams&) const noexcept = default;
};

/// `sample_bits` is 1 to 32.
constexpr GrayParams gray_params(int32_t sample_bits, int32_t low, int32_t high) noexcept
{
    const int32_t top = high < 0 ? sample_bits - 1 : std::min(high, sample_bits - 1);
    const int32_t bottom = std::clamp(low, 0, sample_bits - 1);
    const int32_t bits = std::max(top - bottom + 1, 1);
    return {~uint32_t{0} >> (32 - bits), std::max(top - bits + 1, 0), bits};
}

/// A sample as 8-bit gray: the top 8 bits of its range, or a narrower value in proportion.
constexpr uint8_t gray_level(uint32_t sample, const GrayParams& params) noexcept
{
    const uint32_t value = sample >> params.shift & params.mask;
    return static_cast<uint8_t>(params.bits >= 8 ? value >> (params.bits - 8) : value * 255u / params.mask);
}

} // namespace vk
