// Reals to the nearest whole numbers, halves to even ones.
#pragma once

#include "simd/Simd.h"

namespace vk::simd::inline VK_SIMD_SET {

/// The nearest whole number, halves to even ones, of what 64 bits hold.
VK_SIMD_INLINE int64_t nearest_whole(double value) noexcept
{
#if VK_SIMD_X86
    return _mm_cvtsd_si64(_mm_set_sd(value));
#elif VK_SIMD_NEON
    return vcvtnd_s64_f64(value);
#else
    return __builtin_llrint(value);
#endif
}

/// What makes the last bit of a real below 2^51 a whole one.
inline constexpr double kRounder = 0x1.8p52;

/// The nearest whole numbers of reals below 2^51 either way, as such and as reals.
template <size_t N> VK_SIMD_INLINE Vec<int64_t, N> nearest_whole(Vec<double, N> a) noexcept
{
    const auto rounder = all<Vec<double, N>>(kRounder);
    return as<int64_t>(a + rounder) - as<int64_t>(rounder);
}
template <size_t N> VK_SIMD_INLINE Vec<double, N> rounded_to_whole(Vec<double, N> a) noexcept
{
    const auto rounder = all<Vec<double, N>>(kRounder);
    return (a + rounder) - rounder;
}

} // namespace vk::simd::inline VK_SIMD_SET
