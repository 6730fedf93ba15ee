// Shifts whose count is only known when running, and stays the same for many vectors; and numbers turned round.
#pragma once

#include "simd/Mask.h"

namespace vk::simd::inline VK_SIMD_SET {

/// Turns numbers by some bits to the left.
template <int Bits, size_t N> VK_SIMD_INLINE Vec<uint32_t, N> turned(Vec<uint32_t, N> v) noexcept
{
#if VK_SIMD_NEON
    if constexpr (N == 4 && Bits == 16)
        return from_native<Vec<uint32_t, N>>(vreinterpretq_u32_u16(vrev32q_u16(native(as<uint16_t>(v)))));
    else if constexpr (N == 4)
        return from_native<Vec<uint32_t, N>>(vsriq_n_u32(vshlq_n_u32(native(v), Bits), native(v), 32 - Bits));
    else
#endif
        return (v << Bits) | (v >> (32 - Bits));
}

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
