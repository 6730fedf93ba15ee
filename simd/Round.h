// Single reals to whole numbers, in a step.
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

} // namespace vk::simd::inline VK_SIMD_SET
