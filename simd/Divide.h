// Quotients of whole numbers, by reals.
#pragma once

#include "simd/Mask.h"

namespace vk::simd::inline VK_SIMD_SET {

/// a b + c where it does not matter whether the product is rounded, as of whole numbers that stay below 2^24, or 2^53.
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

template <size_t N> VK_SIMD_INLINE Vec<double, N> mul_add(Vec<double, N> a, Vec<double, N> b, Vec<double, N> c) noexcept
{
#if VK_SIMD_X86 == 3
    if constexpr (N == 8)
        return {reinterpret_cast<typename Vec<double, N>::Raw>(
            _mm512_fmadd_pd(native_real(a), native_real(b), native_real(c)))};
    else if constexpr (N == 4)
        return {reinterpret_cast<typename Vec<double, N>::Raw>(
            _mm256_mask_fmadd_pd(native_real(a), 0xFF, native_real(b), native_real(c)))};
    else
#elif VK_SIMD_NEON
    if constexpr (N == 4)
        return both(mul_add(low_half(a), low_half(b), low_half(c)), mul_add(high_half(a), high_half(b), high_half(c)));
    else if constexpr (N == 2)
        return from_native<Vec<double, N>>(vfmaq_f64(native(c), native(a), native(b)));
    else
#endif
        return a * b + c;
}

/// floor(of / by) of whole numbers below 2^62, `of` not negative and `by` positive; 65536 where it is no less.
template <size_t N> VK_SIMD_INLINE Vec<int64_t, N> few_quotients(Vec<int64_t, N> of, Vec<int64_t, N> by) noexcept
{
    using Floats = Vec<float, N>;
    // As floats, quotients up to 2^16 are off by a fiftieth at most: the nearest whole number is it, or one more.
    const Floats about = to_float(to_double(of)) / to_float(to_double(by));
    const auto close = widen(cut_off(min(about, all<Floats>(65536.0F)) + all<Floats>(0.5F)));
    return close - keep(of < close * by, all<Vec<int64_t, N>>(1));
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

/// The lower three bytes of pixels, each mixed as (part s + (whole - part) d) / whole, to the nearest, halves up; the
/// fourth byte is d's. `part` is a multiple of 255 up to 255 * 255, `whole` no less and no more than that; where it is
/// zero, what comes out is anything.
VK_SIMD_INLINE Wide<uint32_t> mix_colors(Wide<uint32_t> s, Wide<uint32_t> d, Wide<uint32_t> part,
                                         Wide<uint32_t> whole) noexcept
{
#if VK_SIMD_X86 == 3
    // d + floor((s - d) part / whole + 1/2), with the ratio in two numbers: what the first, an inverse of 14 bits,
    // leaves of the part gives the second, and together they err by less than 2^-28 of it, the product by less than
    // 2^-20. No result with its half is nearer to the next whole number than 1 / (2 * 255 * 255), so a quarter of 2^-16
    // more than the half settles what is one itself, and rounding down keeps it there. Differences are multiplied by
    // 2^16.
    constexpr int kDown = _MM_FROUND_TO_NEG_INF | _MM_FROUND_NO_EXC;
    const __m512 by = _mm512_cvtepi32_ps(native(whole));
    const __m512 about = _mm512_rcp14_ps(by);
    const __m512 scaled = _mm512_mul_ps(_mm512_cvtepi32_ps(native(part)), _mm512_set1_ps(0x1p-16f));
    const __m512 ratio = _mm512_mul_ps(scaled, about);
    const __m512 rest = _mm512_mul_ps(_mm512_fnmadd_ps(ratio, by, scaled), about);
    const auto moved = [&](Wide<uint32_t> difference) noexcept {
        const __m512 v = _mm512_cvtepi32_ps(native(difference));
        const __m512 half = _mm512_fmadd_ps(v, rest, _mm512_set1_ps(0.5f + 0x1p-18f));
        const __m512i floor = _mm512_cvt_roundps_epi32(_mm512_fmadd_round_ps(v, ratio, half, kDown), kDown);
        return from_native<Wide<uint32_t>>(floor);
    };
    const auto words = [](Wide<uint32_t> v) noexcept { return as<uint16_t>(v); };
    const auto outer = all<Wide<uint32_t>>(0x00FF00FF);
    const auto others = as<uint32_t>(words(s & outer) - words(d & outer));
    const auto middle = as<uint32_t>(words(s) >> 8) - as<uint32_t>(words(d) >> 8);
    return d + moved(others << 16) + (moved(middle << 16) << 8) +
           (moved(others & all<Wide<uint32_t>>(0xFFFF0000)) << 16);
#else
    // A quotient is no nearer to the next whole number than 1 / 2^16, unless it is one, and floats up to 256 are no
    // farther apart, so rounding it does not take it there.
    const auto reals = [](Wide<uint32_t> v) noexcept { return to_float(as<int32_t>(v)); };
    const auto byte = all<Wide<uint32_t>>(0xFF);
    const auto by = reals(whole), half = reals(whole >> 1), own = reals(part), other = reals(whole - part);
    const auto channel = [&](int shift) noexcept {
        const auto below = mul_add(reals((d >> shift) & byte), other, half);
        return as<uint32_t>(cut_off(mul_add(reals((s >> shift) & byte), own, below) / by));
    };
    return channel(0) | channel(8) << 8 | channel(16) << 16 | (d & all<Wide<uint32_t>>(0xFF000000));
#endif
}

} // namespace vk::simd::inline VK_SIMD_SET
