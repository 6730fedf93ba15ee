// The operations on x86-64: 16 bytes with SSE2, 32 with AVX2, 64 with AVX-512. Instructions that are named alike for
// all widths come from one line each; the others follow.
#pragma once

#include "simd/Plain.h"

#include <immintrin.h>

namespace vk::simd::inline VK_SIMD_SET {

// ---- the compiler's own types ----

template <class T, size_t N> VK_SIMD_INLINE __m128i native(Vec<T, N> v) noexcept requires(N * sizeof(T) == 16)
{
    return reinterpret_cast<__m128i>(v.raw);
}
template <class V> VK_SIMD_INLINE V from_native(__m128i v) noexcept requires(V::kBytes == 16)
{
    return {reinterpret_cast<typename V::Raw>(v)};
}
VK_SIMD_INLINE __m128 native_real(Vec<float, 4> v) noexcept
{
    return reinterpret_cast<__m128>(v.raw);
}
VK_SIMD_INLINE __m128d native_real(Vec<double, 2> v) noexcept
{
    return reinterpret_cast<__m128d>(v.raw);
}
#if VK_SIMD_X86 >= 2
template <class T, size_t N> VK_SIMD_INLINE __m256i native(Vec<T, N> v) noexcept requires(N * sizeof(T) == 32)
{
    return reinterpret_cast<__m256i>(v.raw);
}
template <class V> VK_SIMD_INLINE V from_native(__m256i v) noexcept requires(V::kBytes == 32)
{
    return {reinterpret_cast<typename V::Raw>(v)};
}
VK_SIMD_INLINE __m256 native_real(Vec<float, 8> v) noexcept
{
    return reinterpret_cast<__m256>(v.raw);
}
VK_SIMD_INLINE __m256d native_real(Vec<double, 4> v) noexcept
{
    return reinterpret_cast<__m256d>(v.raw);
}
#endif
#if VK_SIMD_X86 >= 3
template <class T, size_t N> VK_SIMD_INLINE __m512i native(Vec<T, N> v) noexcept requires(N * sizeof(T) == 64)
{
    return reinterpret_cast<__m512i>(v.raw);
}
template <class V> VK_SIMD_INLINE V from_native(__m512i v) noexcept requires(V::kBytes == 64)
{
    return {reinterpret_cast<typename V::Raw>(v)};
}
VK_SIMD_INLINE __m512 native_real(Vec<float, 16> v) noexcept
{
    return reinterpret_cast<__m512>(v.raw);
}
VK_SIMD_INLINE __m512d native_real(Vec<double, 8> v) noexcept
{
    return reinterpret_cast<__m512d>(v.raw);
}
#endif

// ---- two vectors to one, named alike ----

#define VK_BINARY_AT(name, T, R, bytes, call)                                                                          \
    VK_SIMD_INLINE Vec<R, (bytes) / sizeof(R)> name(Vec<T, (bytes) / sizeof(T)> a,                                     \
                                                    Vec<T, (bytes) / sizeof(T)> b) noexcept                            \
    {                                                                                                                  \
        return from_native<Vec<R, (bytes) / sizeof(R)>>(call(native(a), native(b)));                                   \
    }
#if VK_SIMD_X86 == 3
#define VK_BINARY_WIDE(name, T, R, instruction)                                                                        \
    VK_BINARY_AT(name, T, R, 32, _mm256_##instruction)                                                                 \
    VK_BINARY_AT(name, T, R, 64, _mm512_##instruction)
#elif VK_SIMD_X86 == 2
#define VK_BINARY_WIDE(name, T, R, instruction) VK_BINARY_AT(name, T, R, 32, _mm256_##instruction)
#else
#define VK_BINARY_WIDE(name, T, R, instruction)
#endif
#define VK_BINARY(name, T, R, instruction)                                                                             \
    VK_BINARY_AT(name, T, R, 16, _mm_##instruction)                                                                    \
    VK_BINARY_WIDE(name, T, R, instruction)
/// Of those that SSE2 has not, vectors of 16 bytes come with AVX2.
#if VK_SIMD_X86 >= 2
#define VK_BINARY_AVX2(name, T, R, instruction) VK_BINARY(name, T, R, instruction)
#else
#define VK_BINARY_AVX2(name, T, R, instruction)
#endif

VK_BINARY(min, uint8_t, uint8_t, min_epu8)
VK_BINARY(max, uint8_t, uint8_t, max_epu8)
VK_BINARY(min, int16_t, int16_t, min_epi16)
VK_BINARY(max, int16_t, int16_t, max_epi16)
VK_BINARY_AVX2(min, uint16_t, uint16_t, min_epu16)
VK_BINARY_AVX2(max, uint16_t, uint16_t, max_epu16)
VK_BINARY_AVX2(min, int32_t, int32_t, min_epi32)
VK_BINARY_AVX2(max, int32_t, int32_t, max_epi32)
VK_BINARY_AVX2(min, uint32_t, uint32_t, min_epu32)
VK_BINARY_AVX2(max, uint32_t, uint32_t, max_epu32)
VK_BINARY(add_clamped, uint8_t, uint8_t, adds_epu8)
VK_BINARY(add_clamped, int16_t, int16_t, adds_epi16)
VK_BINARY(add_clamped, uint16_t, uint16_t, adds_epu16)
VK_BINARY(sub_clamped, uint8_t, uint8_t, subs_epu8)
VK_BINARY(sub_clamped, int16_t, int16_t, subs_epi16)
VK_BINARY(sub_clamped, uint16_t, uint16_t, subs_epu16)
VK_BINARY(average, uint8_t, uint8_t, avg_epu8)
VK_BINARY(average, uint16_t, uint16_t, avg_epu16)
VK_BINARY(mul_high, int16_t, int16_t, mulhi_epi16)
VK_BINARY(mul_high, uint16_t, uint16_t, mulhi_epu16)
VK_BINARY_AVX2(mul_rounded, int16_t, int16_t, mulhrs_epi16)
VK_BINARY(mul_pairs, int16_t, int32_t, madd_epi16)
VK_BINARY(mul_even, uint32_t, uint64_t, mul_epu32)
VK_BINARY_AVX2(mul_even, int32_t, int64_t, mul_epi32)
VK_BINARY(pack, int16_t, int8_t, packs_epi16)
VK_BINARY(pack, int32_t, int16_t, packs_epi32)
VK_BINARY(pack_unsigned, int16_t, uint8_t, packus_epi16)
VK_BINARY_AVX2(pack_unsigned, int32_t, uint16_t, packus_epi32)
VK_BINARY_AVX2(shuffle, uint8_t, uint8_t, shuffle_epi8)

#define VK_INTERLEAVE(T, bits)                                                                                         \
    VK_BINARY(interleave_low, T, T, unpacklo_epi##bits)                                                                \
    VK_BINARY(interleave_high, T, T, unpackhi_epi##bits)
VK_INTERLEAVE(uint8_t, 8)
VK_INTERLEAVE(int8_t, 8)
VK_INTERLEAVE(uint16_t, 16)
VK_INTERLEAVE(int16_t, 16)
VK_INTERLEAVE(uint32_t, 32)
VK_INTERLEAVE(int32_t, 32)
VK_INTERLEAVE(uint64_t, 64)
VK_INTERLEAVE(int64_t, 64)

#undef VK_INTERLEAVE
#undef VK_BINARY_AVX2
#undef VK_BINARY
#undef VK_BINARY_WIDE
#undef VK_BINARY_AT

// ---- shifts by a count known when running ----

#define VK_SHIFT_AT(T, bytes, prefix, bits, right)                                                                     \
    VK_SIMD_INLINE Vec<T, (bytes) / sizeof(T)> shift_left(Vec<T, (bytes) / sizeof(T)> a, int count) noexcept           \
    {                                                                                                                  \
        return from_native<Vec<T, (bytes) / sizeof(T)>>(prefix##_sll_epi##bits(native(a), _mm_cvtsi32_si128(count)));  \
    }                                                                                                                  \
    VK_SIMD_INLINE Vec<T, (bytes) / sizeof(T)> shift_right(Vec<T, (bytes) / sizeof(T)> a, int count) noexcept          \
    {                                                                                                                  \
        return from_native<Vec<T, (bytes) / sizeof(T)>>(                                                               \
            prefix##_##right##_epi##bits(native(a), _mm_cvtsi32_si128(count)));                                        \
    }
#if VK_SIMD_X86 == 3
#define VK_SHIFTS(T, bits, right)                                                                                      \
    VK_SHIFT_AT(T, 16, _mm, bits, right)                                                                               \
    VK_SHIFT_AT(T, 32, _mm256, bits, right)                                                                            \
    VK_SHIFT_AT(T, 64, _mm512, bits, right)
#elif VK_SIMD_X86 == 2
#define VK_SHIFTS(T, bits, right)                                                                                      \
    VK_SHIFT_AT(T, 16, _mm, bits, right)                                                                               \
    VK_SHIFT_AT(T, 32, _mm256, bits, right)
#else
#define VK_SHIFTS(T, bits, right) VK_SHIFT_AT(T, 16, _mm, bits, right)
#endif
VK_SHIFTS(uint16_t, 16, srl)
VK_SHIFTS(int16_t, 16, sra)
VK_SHIFTS(uint32_t, 32, srl)
VK_SHIFTS(int32_t, 32, sra)
VK_SHIFTS(uint64_t, 64, srl)
#undef VK_SHIFTS
#undef VK_SHIFT_AT

// ---- halves ----

#if VK_SIMD_X86 >= 2
template <class T, size_t N> VK_SIMD_INLINE Vec<T, N / 2> low_half(Vec<T, N> v) noexcept requires(N * sizeof(T) == 32)
{
    return from_native<Vec<T, N / 2>>(_mm256_castsi256_si128(native(v)));
}
template <class T, size_t N> VK_SIMD_INLINE Vec<T, N / 2> high_half(Vec<T, N> v) noexcept requires(N * sizeof(T) == 32)
{
    return from_native<Vec<T, N / 2>>(_mm256_extracti128_si256(native(v), 1));
}
template <class T, size_t N>
VK_SIMD_INLINE Vec<T, 2 * N> both(Vec<T, N> low, Vec<T, N> high) noexcept requires(N * sizeof(T) == 16)
{
    return from_native<Vec<T, 2 * N>>(_mm256_inserti128_si256(_mm256_castsi128_si256(native(low)), native(high), 1));
}
#endif
#if VK_SIMD_X86 >= 3
template <class T, size_t N> VK_SIMD_INLINE Vec<T, N / 2> low_half(Vec<T, N> v) noexcept requires(N * sizeof(T) == 64)
{
    return from_native<Vec<T, N / 2>>(_mm512_castsi512_si256(native(v)));
}
template <class T, size_t N> VK_SIMD_INLINE Vec<T, N / 2> high_half(Vec<T, N> v) noexcept requires(N * sizeof(T) == 64)
{
    return from_native<Vec<T, N / 2>>(_mm512_maskz_extracti64x4_epi64(0xFF, native(v), 1));
}
template <class T, size_t N>
VK_SIMD_INLINE Vec<T, 2 * N> both(Vec<T, N> low, Vec<T, N> high) noexcept requires(N * sizeof(T) == 32)
{
    return from_native<Vec<T, 2 * N>>(_mm512_inserti64x4(_mm512_castsi256_si512(native(low)), native(high), 1));
}
#endif

// ---- unsigned bytes by signed ones ----

#if VK_SIMD_X86 >= 2
#define VK_MUL_PAIRS(bytes, call)                                                                                      \
    VK_SIMD_INLINE Vec<int16_t, (bytes) / 2> mul_pairs(Vec<uint8_t, bytes> a, Vec<int8_t, bytes> b) noexcept           \
    {                                                                                                                  \
        return from_native<Vec<int16_t, (bytes) / 2>>(call(native(a), native(b)));                                     \
    }
VK_MUL_PAIRS(16, _mm_maddubs_epi16)
VK_MUL_PAIRS(32, _mm256_maddubs_epi16)
#if VK_SIMD_X86 >= 3
VK_MUL_PAIRS(64, _mm512_maddubs_epi16)
#endif
#undef VK_MUL_PAIRS
#endif

/// Sixteen bytes in every block.
template <class V, class T, size_t N> VK_SIMD_INLINE V repeat(Vec<T, N> block) noexcept requires(N * sizeof(T) == 16)
{
    if constexpr (V::kBytes == 16)
        return as<typename V::Lane>(block);
#if VK_SIMD_X86 >= 2
    else if constexpr (V::kBytes == 32)
        return from_native<V>(_mm256_broadcastsi128_si256(native(block)));
#endif
#if VK_SIMD_X86 >= 3
    else
        return from_native<V>(_mm512_maskz_broadcast_i32x4(0xFFFF, native(block)));
#endif
}

/// Sixteen bytes of two blocks one after the other, from byte `From` on, in blocks.
template <int From, size_t N>
VK_SIMD_INLINE Vec<uint8_t, N> align(Vec<uint8_t, N> low, Vec<uint8_t, N> high) noexcept requires(N >= 16)
{
#if VK_SIMD_X86 >= 2
    if constexpr (N == 16)
        return from_native<Vec<uint8_t, N>>(_mm_alignr_epi8(native(high), native(low), From));
    else if constexpr (N == 32)
        return from_native<Vec<uint8_t, N>>(_mm256_alignr_epi8(native(high), native(low), From));
#if VK_SIMD_X86 >= 3
    else
        return from_native<Vec<uint8_t, N>>(_mm512_alignr_epi8(native(high), native(low), From));
#endif
#else
    if constexpr (From == 8)
        return {reinterpret_cast<typename Vec<uint8_t, N>::Raw>(
            _mm_shuffle_pd(reinterpret_cast<__m128d>(low.raw), reinterpret_cast<__m128d>(high.raw), 1))};
    return from_native<Vec<uint8_t, N>>(
        _mm_or_si128(_mm_srli_si128(native(low), From), _mm_slli_si128(native(high), 16 - From)));
#endif
}

// ---- widths ----

#if VK_SIMD_X86 >= 2
#define VK_UNARY_AT(name, T, n, R, call)                                                                               \
    VK_SIMD_INLINE Vec<R, n> name(Vec<T, n> a) noexcept                                                                \
    {                                                                                                                  \
        return from_native<Vec<R, n>>(call(native(a)));                                                                \
    }
#define VK_WIDEN(T, R, instruction) VK_UNARY_AT(widen, T, 16 / sizeof(T), R, _mm256_##instruction)
VK_WIDEN(uint8_t, uint16_t, cvtepu8_epi16)
VK_WIDEN(int8_t, int16_t, cvtepi8_epi16)
VK_WIDEN(uint16_t, uint32_t, cvtepu16_epi32)
VK_WIDEN(int16_t, int32_t, cvtepi16_epi32)
VK_WIDEN(uint32_t, uint64_t, cvtepu32_epi64)
VK_WIDEN(int32_t, int64_t, cvtepi32_epi64)
#undef VK_WIDEN
#if VK_SIMD_X86 >= 3
#define VK_WIDEN(T, R, instruction) VK_UNARY_AT(widen, T, 32 / sizeof(T), R, _mm512_##instruction)
VK_WIDEN(uint8_t, uint16_t, cvtepu8_epi16)
VK_WIDEN(int8_t, int16_t, cvtepi8_epi16)
VK_WIDEN(uint16_t, uint32_t, cvtepu16_epi32)
VK_WIDEN(int16_t, int32_t, cvtepi16_epi32)
VK_WIDEN(uint32_t, uint64_t, cvtepu32_epi64)
VK_WIDEN(int32_t, int64_t, cvtepi32_epi64)
#undef VK_WIDEN
VK_UNARY_AT(widen_4, uint8_t, 16, uint32_t, _mm512_cvtepu8_epi32)
VK_UNARY_AT(cut, uint16_t, 32, uint8_t, _mm512_cvtepi16_epi8)
VK_UNARY_AT(cut, uint32_t, 16, uint16_t, _mm512_cvtepi32_epi16)
VK_UNARY_AT(cut, uint16_t, 16, uint8_t, _mm256_cvtepi16_epi8)
VK_UNARY_AT(cut, uint32_t, 8, uint16_t, _mm256_cvtepi32_epi16)
VK_UNARY_AT(cut_4, uint32_t, 16, uint8_t, _mm512_cvtepi32_epi8)
#endif
#undef VK_UNARY_AT
#endif

// ---- reals and whole numbers ----

#define VK_REAL_AT(n, prefix)                                                                                          \
    VK_SIMD_INLINE Vec<int32_t, n> cut_off(Vec<float, n> a) noexcept                                                   \
    {                                                                                                                  \
        return from_native<Vec<int32_t, n>>(prefix##_cvttps_epi32(native_real(a)));                                    \
    }                                                                                                                  \
    VK_SIMD_INLINE Vec<float, n> to_float(Vec<int32_t, n> a) noexcept                                                  \
    {                                                                                                                  \
        return {reinterpret_cast<Vec<float, n>::Raw>(prefix##_cvtepi32_ps(native(a)))};                                \
    }                                                                                                                  \
    VK_SIMD_INLINE Vec<float, n> min(Vec<float, n> a, Vec<float, n> b) noexcept                                        \
    {                                                                                                                  \
        return {reinterpret_cast<Vec<float, n>::Raw>(prefix##_min_ps(native_real(a), native_real(b)))};                \
    }                                                                                                                  \
    VK_SIMD_INLINE Vec<float, n> max(Vec<float, n> a, Vec<float, n> b) noexcept                                        \
    {                                                                                                                  \
        return {reinterpret_cast<Vec<float, n>::Raw>(prefix##_max_ps(native_real(a), native_real(b)))};                \
    }
VK_REAL_AT(4, _mm)
#if VK_SIMD_X86 >= 2
VK_REAL_AT(8, _mm256)
VK_SIMD_INLINE Vec<int32_t, 4> cut_off(Vec<double, 4> a) noexcept
{
    return from_native<Vec<int32_t, 4>>(_mm256_cvttpd_epi32(native_real(a)));
}
VK_SIMD_INLINE Vec<double, 4> to_double(Vec<int32_t, 4> a) noexcept
{
    return {reinterpret_cast<Vec<double, 4>::Raw>(_mm256_cvtepi32_pd(native(a)))};
}
#endif
#if VK_SIMD_X86 >= 3
VK_REAL_AT(16, _mm512)
VK_SIMD_INLINE Vec<int32_t, 8> cut_off(Vec<double, 8> a) noexcept
{
    return from_native<Vec<int32_t, 8>>(_mm512_cvttpd_epi32(native_real(a)));
}
VK_SIMD_INLINE Vec<double, 8> to_double(Vec<int32_t, 8> a) noexcept
{
    return {reinterpret_cast<Vec<double, 8>::Raw>(_mm512_cvtepi32_pd(native(a)))};
}
#endif
#undef VK_REAL_AT

#if VK_SIMD_X86 >= 2
VK_SIMD_INLINE Vec<float, 4> to_float(Vec<double, 4> a) noexcept
{
    return {reinterpret_cast<Vec<float, 4>::Raw>(_mm256_cvtpd_ps(native_real(a)))};
}
#endif
#if VK_SIMD_X86 >= 3
VK_SIMD_INLINE Vec<float, 8> to_float(Vec<double, 8> a) noexcept
{
    return {reinterpret_cast<Vec<float, 8>::Raw>(_mm512_cvtpd_ps(native_real(a)))};
}
#define VK_LONG_AT(n, prefix)                                                                                          \
    VK_SIMD_INLINE Vec<double, n> to_double(Vec<int64_t, n> a) noexcept                                                \
    {                                                                                                                  \
        return {reinterpret_cast<Vec<double, n>::Raw>(prefix##_cvtepi64_pd(native(a)))};                               \
    }
VK_LONG_AT(2, _mm)
VK_LONG_AT(4, _mm256)
VK_LONG_AT(8, _mm512)
#undef VK_LONG_AT
#elif VK_SIMD_X86 == 2
/// Each half as the last bits of a large real: less what makes these large, their sum is rounded once.
VK_SIMD_INLINE Vec<double, 4> to_double(Vec<int64_t, 4> a) noexcept
{
    using Bits = Vec<uint64_t, 4>;
    const auto low = (as<uint64_t>(a) & all<Bits>(0xFFFF'FFFF)) | all<Bits>(0x4330'0000'0000'0000);
    const auto high = (as<uint64_t>(a) >> 32) ^ all<Bits>(0x4530'0000'8000'0000);
    return (as<double>(high) - as<double>(all<Bits>(0x4530'0000'8010'0000))) + as<double>(low);
}
#endif

#define VK_DOUBLE_AT(n, prefix)                                                                                        \
    VK_SIMD_INLINE Vec<double, n> min(Vec<double, n> a, Vec<double, n> b) noexcept                                     \
    {                                                                                                                  \
        return {reinterpret_cast<Vec<double, n>::Raw>(prefix##_min_pd(native_real(a), native_real(b)))};               \
    }                                                                                                                  \
    VK_SIMD_INLINE Vec<double, n> max(Vec<double, n> a, Vec<double, n> b) noexcept                                     \
    {                                                                                                                  \
        return {reinterpret_cast<Vec<double, n>::Raw>(prefix##_max_pd(native_real(a), native_real(b)))};               \
    }
VK_DOUBLE_AT(2, _mm)
#if VK_SIMD_X86 >= 2
VK_DOUBLE_AT(4, _mm256)
#endif
#if VK_SIMD_X86 >= 3
VK_DOUBLE_AT(8, _mm512)
#endif
#undef VK_DOUBLE_AT

// ---- lanes from anywhere ----

#if VK_SIMD_X86 >= 2
template <class T>
VK_SIMD_INLINE Vec<T, 8> permute(Vec<T, 8> v, Vec<uint32_t, 8> order) noexcept requires(sizeof(T) == 4)
{
    return from_native<Vec<T, 8>>(_mm256_permutevar8x32_epi32(native(v), native(order)));
}
#endif
#if VK_SIMD_X86 >= 3
/// With masks of everything, because compilers warn of the values that the plain forms leave undefined.
#define VK_PERMUTE(bytes, n, prefix, bits, mask)                                                                       \
    template <class T>                                                                                                 \
    VK_SIMD_INLINE Vec<T, n> permute(Vec<T, n> v,                                                                      \
                                     Vec<IntOf<bytes, false>, n> order) noexcept requires(sizeof(T) == (bytes))        \
    {                                                                                                                  \
        return from_native<Vec<T, n>>(prefix##_maskz_permutexvar_epi##bits(mask, native(order), native(v)));           \
    }                                                                                                                  \
    template <class T>                                                                                                 \
    VK_SIMD_INLINE Vec<T, n> permute(Vec<T, n> a, Vec<T, n> b,                                                         \
                                     Vec<IntOf<bytes, false>, n> order) noexcept requires(sizeof(T) == (bytes))        \
    {                                                                                                                  \
        return from_native<Vec<T, n>>(prefix##_permutex2var_epi##bits(native(a), native(order), native(b)));           \
    }
VK_PERMUTE(1, 64, _mm512, 8, ~__mmask64{0})
VK_PERMUTE(2, 32, _mm512, 16, ~__mmask32{0})
VK_PERMUTE(4, 16, _mm512, 32, 0xFFFF)
VK_PERMUTE(8, 8, _mm512, 64, 0xFF)
VK_PERMUTE(1, 32, _mm256, 8, ~__mmask32{0})
#undef VK_PERMUTE
#endif

// ---- memory ----

#define VK_STREAM_AT(size, instruction, Native)                                                                        \
    template <class T, size_t N>                                                                                       \
    VK_SIMD_INLINE void stream(void* to, Vec<T, N> v) noexcept requires(N * sizeof(T) == (size))                       \
    {                                                                                                                  \
        instruction(static_cast<Native*>(to), native(v));                                                              \
    }
VK_STREAM_AT(16, _mm_stream_si128, __m128i)
#if VK_SIMD_X86 >= 2
VK_STREAM_AT(32, _mm256_stream_si256, __m256i)
#endif
#if VK_SIMD_X86 >= 3
VK_STREAM_AT(64, _mm512_stream_si512, __m512i)
#endif
#undef VK_STREAM_AT
VK_SIMD_INLINE void fence() noexcept
{
    _mm_sfence();
}

#if VK_SIMD_X86 >= 2
VK_SIMD_INLINE Vec<int32_t, 4> gather(const void* base, Vec<int32_t, 4> offsets) noexcept
{
    return from_native<Vec<int32_t, 4>>(_mm_i32gather_epi32(static_cast<const int*>(base), native(offsets), 1));
}
VK_SIMD_INLINE Vec<int32_t, 8> gather(const void* base, Vec<int32_t, 8> offsets) noexcept
{
    return from_native<Vec<int32_t, 8>>(_mm256_i32gather_epi32(static_cast<const int*>(base), native(offsets), 1));
}
#endif
#if VK_SIMD_X86 >= 3
VK_SIMD_INLINE Vec<int32_t, 16> gather(const void* base, Vec<int32_t, 16> offsets) noexcept
{
    return from_native<Vec<int32_t, 16>>(
        _mm512_mask_i32gather_epi32(_mm512_setzero_si512(), 0xFFFF, native(offsets), base, 1));
}
#endif

} // namespace vk::simd::inline VK_SIMD_SET
