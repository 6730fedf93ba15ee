// Sums of the lanes of vectors.
#pragma once

#include "simd/Arrange.h"

namespace vk::simd::inline VK_SIMD_SET {

/// A lane for the sum of each one's lanes.
template <class T> VK_SIMD_INLINE Vec<T, 4> folded(const Vec<T, 4> (&of)[4]) noexcept
{
    const auto halved = [](Vec<T, 4> a, Vec<T, 4> b) noexcept {
        return arrange<[](size_t k) { return k / 2 * 2 + k % 2 * 4; }>(a, b) +
               arrange<[](size_t k) { return k / 2 * 2 + 1 + k % 2 * 4; }>(a, b);
    };
    const auto low = halved(of[0], of[1]), high = halved(of[2], of[3]);
    return arrange<[](size_t k) { return k < 2 ? k : 2 + k; }>(low, high) +
           arrange<[](size_t k) { return k < 2 ? 2 + k : 4 + k; }>(low, high);
}

} // namespace vk::simd::inline VK_SIMD_SET
