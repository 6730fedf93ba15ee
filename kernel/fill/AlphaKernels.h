// The inner loops of alpha, for pixels of four bytes, alpha last. The plain ones define the result;
// those for wider vectors do as many pixels as they take, or with masks all, and return the number.
#pragma once

#include "simd/Level.h"

#include <cstddef>
#include <cstdint>

namespace vk::fill {

/// c a / most to the nearest; halves cannot be, since most is odd.
constexpr uint32_t times_alpha(uint32_t color, uint32_t alpha, uint32_t most) noexcept
{
    return static_cast<uint32_t>((uint64_t{color} * alpha + most / 2) / most);
}

/// c most / a to the nearest, halves up, and no more than most; 0 where nothing is to be seen.
constexpr uint32_t by_alpha(uint32_t color, uint32_t alpha, uint32_t most) noexcept
{
    if (alpha == 0)
        return 0;
    const uint64_t quotient = (uint64_t{color} * most * 2 + alpha) / (2 * uint64_t{alpha});
    return quotient < most ? static_cast<uint32_t>(quotient) : most;
}

struct AlphaLoops {
    size_t (*take_alpha)(const uint8_t* pixels, uint8_t* alphas, size_t count) noexcept;
    size_t (*premultiply)(uint8_t* pixels, size_t count) noexcept;
    size_t (*unpremultiply)(uint8_t* pixels, size_t count) noexcept;
    size_t (*premultiply_words)(uint8_t* pixels, size_t count) noexcept; ///< of pixels of eight bytes
    size_t (*unpremultiply_words)(uint8_t* pixels, size_t count) noexcept;
};
VK_SIMD_TABLE(AlphaLoops, alpha_loops);

} // namespace vk::fill
