// Sums of more bits than a lane has.
#pragma once

#include "simd/Mask.h"

namespace vk::simd::inline VK_SIMD_SET {

/// `upper` and the carry of a sum of unsigned numbers, of which `part` is one.
template <class T, size_t N> VK_SIMD_INLINE Vec<T, N> add_carry(Vec<T, N> upper, Vec<T, N> sum, Vec<T, N> part) noexcept
{
    const auto one = all<Vec<T, N>>(1);
#if VK_SIMD_X86 == 3
    return select(sum < part, upper + one, upper);
#else
    return upper + one + as<T>((max(sum, part) == sum).truths); // less one that was not taken
#endif
}

} // namespace vk::simd::inline VK_SIMD_SET
