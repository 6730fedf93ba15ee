// Shifts whose count is only known when running, and stays the same for many vectors.
#pragma once

#include "simd/Mask.h"

namespace vk::simd::inline VK_SIMD_SET {

/// Shifts words to the right. AVX-512 does so faster when every lane has its count.
class WordShift {
public:
    using Words = Wide<uint16_t>;

#if VK_SIMD_X86 == 3
    explicit VK_SIMD_INLINE WordShift(int count) noexcept : counts_(all<Words>(static_cast<uint16_t>(count))) {}
    VK_SIMD_INLINE Words operator()(Words v) const noexcept
    {
        return shift_right(v, counts_);
    }

private:
    Words counts_;
#else
    explicit VK_SIMD_INLINE WordShift(int count) noexcept : count_(count) {}
    VK_SIMD_INLINE Words operator()(Words v) const noexcept
    {
        return shift_right(v, count_);
    }

private:
    int count_;
#endif
};

} // namespace vk::simd::inline VK_SIMD_SET
