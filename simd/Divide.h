// Quotients of whole numbers, by reals.
#pragma once

#include "simd/Mask.h"

namespace vk::simd::inline VK_SIMD_SET {

/// a b + c where it does not matter whether the product is rounded, as of whole numbers that stay below 2^24.
template <size_t N> VK_SIMD_INLINE Vec<float, N> mul_add(Vec<float, N> a, Vec<float, N> b, Vec<float, N> c) noexcept
{
#if VK_SIMD_X86 == 3
    if constexpr (N == 16)
        return {reinterpret_cast<typename Vec<float, N>::Raw>(
            _mm512_fmadd_ps(native_real(a), native_real(b), native_real(c)))};
    else
#elif VK_SIMD_NEON
    if constexpr (N == 4)
        return from_native<Vec<float, N>>(vfmaq_f32(native(c), native(a), native(b)));
    else
#endif
        return a * b + c;
}

/// of / by, to one or two of the last bits, for whole numbers that are not negative; 0 for those of 0.
VK_SIMD_INLINE Wide<float> about_quotient(float of, Wide<int32_t> by) noexcept
{
    const auto value = to_float(by);
#if VK_SIMD_X86 == 3
    const __m512 about = _mm512_maskz_rcp14_ps(_mm512_test_epi32_mask(native(by), native(by)), native_real(value));
    const __m512 near_one = _mm512_fnmadd_ps(native_real(value), about, _mm512_set1_ps(2));
    return {reinterpret_cast<Wide<float>::Raw>(_mm512_mul_ps(_mm512_mul_ps(about, near_one), _mm512_set1_ps(of)))};
#else
    return as<float>(keep(by > Wide<int32_t>{}, as<int32_t>(all<Wide<float>>(of) / value)));
#endif
}

/// Divides whole numbers below 2^24 by others below 2^16, where quotients stay below 2^8, and cuts off. Where the
/// divisor is zero, the quotient is anything.
class Divisor {
  public:
    using Reals = Wide<float>;
    using Numbers = Wide<int32_t>;

#if VK_SIMD_X86 == 3
    /// The inverse is a little too small: a quotient by it is never too large, since it errs by less than that, and when
    /// it is one too small the rest says so.
    explicit VK_SIMD_INLINE Divisor(Numbers by) noexcept : by_(to_float(by))
    {
        const __m512i number = native(by);
        const __m512 about = _mm512_maskz_rcp14_ps(_mm512_test_epi32_mask(number, number), native_real(by_));
        const __m512 near_one = _mm512_fnmadd_ps(native_real(by_), about, _mm512_set1_ps(2));
        inverse_ = _mm512_mul_ps(about, _mm512_mul_ps(near_one, _mm512_set1_ps(1 - 1.0f / (1 << 21))));
    }
    VK_SIMD_INLINE Numbers of(Reals value) const noexcept
    {
        const __m512 v = native_real(value);
        const __m512i quotient = _mm512_cvttps_epi32(_mm512_mul_ps(v, inverse_));
        const __m512 rest = _mm512_fnmadd_ps(_mm512_cvtepi32_ps(quotient), native_real(by_), v);
        const __mmask16 up = _mm512_cmp_ps_mask(rest, native_real(by_), _CMP_GE_OQ);
        return from_native<Numbers>(_mm512_mask_add_epi32(quotient, up, quotient, _mm512_set1_epi32(1)));
    }

  private:
    Reals by_;
    __m512 inverse_;
#else
    explicit VK_SIMD_INLINE Divisor(Numbers by) noexcept : by_(to_float(by)) {}
    /// The quotient is no nearer to the next whole number than 1 / 2^16, unless it is one, and floats up to 256 are no
    /// farther apart, so rounding it does not take it there.
    VK_SIMD_INLINE Numbers of(Reals value) const noexcept { return cut_off(value / by_); }

  private:
    Reals by_;
#endif
};

} // namespace vk::simd::inline VK_SIMD_SET
