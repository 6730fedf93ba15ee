// The operations on 64-bit ARM: 16 bytes, and the halves of them that narrower numbers come from and go to. Each takes
// one to three instructions, permute() of wider lanes some more where the order is not known when compiling,
// high_bits() of bytes six.
//
// Left to the loops of Plain.h: shifts by counts, which compilers know (the processor's are by vectors of counts
// anyhow); gather(), which is one load a lane on this processor; products of 64-bit numbers, which it has not; and
// stream(), since stores past the caches exist for pairs of registers only.
#pragma once

#include "simd/Plain.h"

#include <arm_neon.h>

namespace vk::simd::inline VK_SIMD_SET {

// ---- the compiler's own types ----

#define VK_NATIVE(T, Native, Half)                                                                                     \
    VK_SIMD_INLINE Native native(Vec<T, 16 / sizeof(T)> v) noexcept                                                    \
    {                                                                                                                  \
        return reinterpret_cast<Native>(v.raw);                                                                        \
    }                                                                                                                  \
    VK_SIMD_INLINE Half native(Vec<T, 8 / sizeof(T)> v) noexcept                                                       \
    {                                                                                                                  \
        return reinterpret_cast<Half>(v.raw);                                                                          \
    }
VK_NATIVE(uint8_t, uint8x16_t, uint8x8_t)
VK_NATIVE(int8_t, int8x16_t, int8x8_t)
VK_NATIVE(uint16_t, uint16x8_t, uint16x4_t)
VK_NATIVE(int16_t, int16x8_t, int16x4_t)
VK_NATIVE(uint32_t, uint32x4_t, uint32x2_t)
VK_NATIVE(int32_t, int32x4_t, int32x2_t)
VK_NATIVE(uint64_t, uint64x2_t, uint64x1_t)
VK_NATIVE(int64_t, int64x2_t, int64x1_t)
VK_NATIVE(float, float32x4_t, float32x2_t)
VK_NATIVE(double, float64x2_t, float64x1_t)
#undef VK_NATIVE

template <class V, class Native> VK_SIMD_INLINE V from_native(Native v) noexcept
{
    static_assert(sizeof v == V::kBytes);
    return {reinterpret_cast<typename V::Raw>(v)};
}

// ---- two vectors to one, by one instruction ----

#define VK_BINARY(name, T, instruction)                                                                                \
    VK_SIMD_INLINE Vec<T, 16 / sizeof(T)> name(Vec<T, 16 / sizeof(T)> a, Vec<T, 16 / sizeof(T)> b) noexcept            \
    {                                                                                                                  \
        return from_native<Vec<T, 16 / sizeof(T)>>(instruction(native(a), native(b)));                                 \
    }
#define VK_OF_BYTES(name, instruction)                                                                                 \
    VK_BINARY(name, uint8_t, instruction##_u8)                                                                         \
    VK_BINARY(name, int8_t, instruction##_s8)
#define VK_OF_WORDS(name, instruction)                                                                                 \
    VK_BINARY(name, uint16_t, instruction##_u16)                                                                       \
    VK_BINARY(name, int16_t, instruction##_s16)
#define VK_OF_NUMBERS(name, instruction)                                                                               \
    VK_BINARY(name, uint32_t, instruction##_u32)                                                                       \
    VK_BINARY(name, int32_t, instruction##_s32)
#define VK_OF_LONG_NUMBERS(name, instruction)                                                                          \
    VK_BINARY(name, uint64_t, instruction##_u64)                                                                       \
    VK_BINARY(name, int64_t, instruction##_s64)

#define VK_OF_ALL_BUT_LONG(name, instruction)                                                                          \
    VK_OF_BYTES(name, instruction)                                                                                     \
    VK_OF_WORDS(name, instruction)                                                                                     \
    VK_OF_NUMBERS(name, instruction)
VK_OF_ALL_BUT_LONG(min, vminq)
VK_OF_ALL_BUT_LONG(max, vmaxq)
VK_OF_BYTES(add_clamped, vqaddq)
VK_OF_WORDS(add_clamped, vqaddq)
VK_OF_BYTES(sub_clamped, vqsubq)
VK_OF_WORDS(sub_clamped, vqsubq)
VK_BINARY(average, uint8_t, vrhaddq_u8)
VK_BINARY(average, uint16_t, vrhaddq_u16)
VK_BINARY(mul_rounded, int16_t, vqrdmulhq_s16)
VK_OF_ALL_BUT_LONG(interleave_low, vzip1q)
VK_OF_LONG_NUMBERS(interleave_low, vzip1q)
VK_OF_ALL_BUT_LONG(interleave_high, vzip2q)
VK_OF_LONG_NUMBERS(interleave_high, vzip2q)
VK_BINARY(shuffle, uint8_t, vqtbl1q_u8)

#undef VK_OF_ALL_BUT_LONG
#undef VK_OF_LONG_NUMBERS
#undef VK_OF_NUMBERS
#undef VK_OF_WORDS
#undef VK_OF_BYTES
#undef VK_BINARY

// ---- products ----

VK_SIMD_INLINE Vec<int16_t, 8> mul_high(Vec<int16_t, 8> a, Vec<int16_t, 8> b) noexcept
{
    const int32x4_t low = vmull_s16(vget_low_s16(native(a)), vget_low_s16(native(b)));
    const int32x4_t high = vmull_high_s16(native(a), native(b));
    return from_native<Vec<int16_t, 8>>(vuzp2q_s16(vreinterpretq_s16_s32(low), vreinterpretq_s16_s32(high)));
}
VK_SIMD_INLINE Vec<uint16_t, 8> mul_high(Vec<uint16_t, 8> a, Vec<uint16_t, 8> b) noexcept
{
    const uint32x4_t low = vmull_u16(vget_low_u16(native(a)), vget_low_u16(native(b)));
    const uint32x4_t high = vmull_high_u16(native(a), native(b));
    return from_native<Vec<uint16_t, 8>>(vuzp2q_u16(vreinterpretq_u16_u32(low), vreinterpretq_u16_u32(high)));
}
VK_SIMD_INLINE Vec<int32_t, 4> mul_pairs(Vec<int16_t, 8> a, Vec<int16_t, 8> b) noexcept
{
    const int32x4_t low = vmull_s16(vget_low_s16(native(a)), vget_low_s16(native(b)));
    return from_native<Vec<int32_t, 4>>(vpaddq_s32(low, vmull_high_s16(native(a), native(b))));
}
/// No product of an unsigned byte and a signed one leaves the range of 16 bits.
VK_SIMD_INLINE Vec<int16_t, 8> mul_pairs(Vec<uint8_t, 16> a, Vec<int8_t, 16> b) noexcept
{
    const auto u = as<int16_t>(a), s = as<int16_t>(b);
    const Vec<int16_t, 8> even = (u & all<Vec<int16_t, 8>>(0xFF)) * ((s << 8) >> 8);
    const Vec<int16_t, 8> odd = as<int16_t>(as<uint16_t>(u) >> 8) * (s >> 8);
    return add_clamped(even, odd);
}
VK_SIMD_INLINE Vec<uint64_t, 2> mul_even(Vec<uint32_t, 4> a, Vec<uint32_t, 4> b) noexcept
{
    const uint32x2_t evens[] = {vmovn_u64(vreinterpretq_u64_u32(native(a))),
                                vmovn_u64(vreinterpretq_u64_u32(native(b)))};
    return from_native<Vec<uint64_t, 2>>(vmull_u32(evens[0], evens[1]));
}

VK_SIMD_INLINE Vec<int64_t, 2> mul_even(Vec<int32_t, 4> a, Vec<int32_t, 4> b) noexcept
{
    return from_native<Vec<int64_t, 2>>(
        vmull_s32(vmovn_s64(vreinterpretq_s64_s32(native(a))), vmovn_s64(vreinterpretq_s64_s32(native(b)))));
}

// ---- widths ----

template <class T, size_t N> VK_SIMD_INLINE Vec<T, N / 2> low_half(Vec<T, N> v) noexcept requires(N * sizeof(T) == 16)
{
    return from_native<Vec<T, N / 2>>(vget_low_u8(native(as<uint8_t>(v))));
}
template <class T, size_t N> VK_SIMD_INLINE Vec<T, N / 2> high_half(Vec<T, N> v) noexcept requires(N * sizeof(T) == 16)
{
    return from_native<Vec<T, N / 2>>(vget_high_u8(native(as<uint8_t>(v))));
}
template <class T, size_t N>
VK_SIMD_INLINE Vec<T, 2 * N> both(Vec<T, N> low, Vec<T, N> high) noexcept requires(N * sizeof(T) == 8)
{
    return from_native<Vec<T, 2 * N>>(vcombine_u8(native(as<uint8_t>(low)), native(as<uint8_t>(high))));
}

#define VK_WIDTHS(T, W, lanes, narrow, wide)                                                                           \
    VK_SIMD_INLINE Vec<W, lanes> widen(Vec<T, lanes> v) noexcept                                                       \
    {                                                                                                                  \
        return from_native<Vec<W, lanes>>(vmovl_##narrow(native(v)));                                                  \
    }                                                                                                                  \
    VK_SIMD_INLINE Vec<T, lanes> cut(Vec<W, lanes> v) noexcept                                                         \
    {                                                                                                                  \
        return from_native<Vec<T, lanes>>(vmovn_##wide(native(v)));                                                    \
    }
VK_WIDTHS(uint8_t, uint16_t, 8, u8, u16)
VK_WIDTHS(int8_t, int16_t, 8, s8, s16)
VK_WIDTHS(uint16_t, uint32_t, 4, u16, u32)
VK_WIDTHS(int16_t, int32_t, 4, s16, s32)
VK_WIDTHS(uint32_t, uint64_t, 2, u32, u64)
VK_WIDTHS(int32_t, int64_t, 2, s32, s64)
#undef VK_WIDTHS

/// Four bytes at a time, which are no vector of the processor's.
VK_SIMD_INLINE Vec<uint32_t, 4> widen_4(Vec<uint8_t, 4> v) noexcept
{
    const uint8x8_t bytes = vreinterpret_u8_u32(vdup_n_u32(__builtin_bit_cast(uint32_t, v)));
    return from_native<Vec<uint32_t, 4>>(vmovl_u16(vget_low_u16(vmovl_u8(bytes))));
}
VK_SIMD_INLINE Vec<uint8_t, 4> cut_4(Vec<uint32_t, 4> v) noexcept
{
    const uint8x16_t bytes = vreinterpretq_u8_u32(native(v));
    const uint8x16_t evens = vuzp1q_u8(bytes, bytes);
    return __builtin_bit_cast(Vec<uint8_t, 4>, vgetq_lane_u32(vreinterpretq_u32_u8(vuzp1q_u8(evens, evens)), 0));
}

#define VK_PACK(name, T, R, instruction, suffix)                                                                       \
    VK_SIMD_INLINE Vec<R, 16 / sizeof(R)> name(Vec<T, 16 / sizeof(T)> a, Vec<T, 16 / sizeof(T)> b) noexcept            \
    {                                                                                                                  \
        return from_native<Vec<R, 16 / sizeof(R)>>(                                                                    \
            instruction##_high_##suffix(instruction##_##suffix(native(a)), native(b)));                                \
    }
VK_PACK(pack, int16_t, int8_t, vqmovn, s16)
VK_PACK(pack, int32_t, int16_t, vqmovn, s32)
VK_PACK(pack_unsigned, int16_t, uint8_t, vqmovun, s16)
VK_PACK(pack_unsigned, int32_t, uint16_t, vqmovun, s32)
#undef VK_PACK

// ---- reals and whole numbers ----

/// Of equal numbers and of none at all the second, as by comparing, which the processor's own instruction sees
/// otherwise.
#define VK_LESSER(T, suffix)                                                                                           \
    VK_SIMD_INLINE Vec<T, 16 / sizeof(T)> min(Vec<T, 16 / sizeof(T)> a, Vec<T, 16 / sizeof(T)> b) noexcept             \
    {                                                                                                                  \
        return from_native<Vec<T, 16 / sizeof(T)>>(                                                                    \
            vbslq_##suffix(vcltq_##suffix(native(a), native(b)), native(a), native(b)));                               \
    }                                                                                                                  \
    VK_SIMD_INLINE Vec<T, 16 / sizeof(T)> max(Vec<T, 16 / sizeof(T)> a, Vec<T, 16 / sizeof(T)> b) noexcept             \
    {                                                                                                                  \
        return from_native<Vec<T, 16 / sizeof(T)>>(                                                                    \
            vbslq_##suffix(vcgtq_##suffix(native(a), native(b)), native(a), native(b)));                               \
    }
VK_LESSER(float, f32)
VK_LESSER(double, f64)
#undef VK_LESSER
VK_SIMD_INLINE Vec<int32_t, 4> cut_off(Vec<float, 4> a) noexcept
{
    return from_native<Vec<int32_t, 4>>(vcvtq_s32_f32(native(a)));
}
VK_SIMD_INLINE Vec<float, 4> to_float(Vec<int32_t, 4> a) noexcept
{
    return from_native<Vec<float, 4>>(vcvtq_f32_s32(native(a)));
}
VK_SIMD_INLINE Vec<int32_t, 2> cut_off(Vec<double, 2> a) noexcept
{
    return from_native<Vec<int32_t, 2>>(vmovn_s64(vcvtq_s64_f64(native(a))));
}
VK_SIMD_INLINE Vec<double, 2> to_double(Vec<int32_t, 2> a) noexcept
{
    return from_native<Vec<double, 2>>(vcvtq_f64_s64(vmovl_s32(native(a))));
}
VK_SIMD_INLINE Vec<double, 2> to_double(Vec<int64_t, 2> a) noexcept
{
    return from_native<Vec<double, 2>>(vcvtq_f64_s64(native(a)));
}

// ---- pairs of vectors, for kernels that work on 32 bytes of wide numbers ----

template <class T, size_t N> VK_SIMD_INLINE Vec<T, N / 2> low_half(Vec<T, N> v) noexcept requires(N * sizeof(T) == 32)
{
    const auto raw = as<uint64_t>(v).raw;
    return as<T>(Vec<uint64_t, 2>{__builtin_shufflevector(raw, raw, 0, 1)});
}
template <class T, size_t N> VK_SIMD_INLINE Vec<T, N / 2> high_half(Vec<T, N> v) noexcept requires(N * sizeof(T) == 32)
{
    const auto raw = as<uint64_t>(v).raw;
    return as<T>(Vec<uint64_t, 2>{__builtin_shufflevector(raw, raw, 2, 3)});
}
template <class T, size_t N>
VK_SIMD_INLINE Vec<T, 2 * N> both(Vec<T, N> low, Vec<T, N> high) noexcept requires(N * sizeof(T) == 16)
{
    return as<T>(Vec<uint64_t, 4>{__builtin_shufflevector(as<uint64_t>(low).raw, as<uint64_t>(high).raw, 0, 1, 2, 3)});
}
template <class T, size_t N> VK_SIMD_INLINE auto widen(Vec<T, N> v) noexcept requires(N * sizeof(T) == 16)
{
    return both(widen(low_half(v)), widen(high_half(v)));
}
VK_SIMD_INLINE Vec<uint64_t, 4> mul_even(Vec<uint32_t, 8> a, Vec<uint32_t, 8> b) noexcept
{
    return both(mul_even(low_half(a), low_half(b)), mul_even(high_half(a), high_half(b)));
}
VK_SIMD_INLINE Vec<int32_t, 4> cut_off(Vec<double, 4> a) noexcept
{
    return both(cut_off(low_half(a)), cut_off(high_half(a)));
}
VK_SIMD_INLINE Vec<double, 4> to_double(Vec<int32_t, 4> a) noexcept
{
    return both(to_double(low_half(a)), to_double(high_half(a)));
}
VK_SIMD_INLINE Vec<double, 4> to_double(Vec<int64_t, 4> a) noexcept
{
    return both(to_double(low_half(a)), to_double(high_half(a)));
}
VK_SIMD_INLINE Vec<float, 4> to_float(Vec<double, 4> a) noexcept
{
    return from_native<Vec<float, 4>>(vcvt_high_f32_f64(vcvt_f32_f64(native(low_half(a))), native(high_half(a))));
}

// ---- lanes from anywhere ----

/// The indices of bytes for those of lanes, of which there are `Count`.
template <size_t Count, class T, size_t N> VK_SIMD_INLINE uint8x16_t byte_indices(Vec<T, N> order) noexcept
{
    using V = Vec<T, N>;
    const V lanes = order & all<V>(Count - 1);
    if constexpr (sizeof(T) == 1)
        return native(lanes);
    else if constexpr (sizeof(T) == 2)
        return native(as<uint8_t>(lanes * all<V>(0x0202) + all<V>(0x0100)));
    else if constexpr (sizeof(T) == 4)
        return native(as<uint8_t>(lanes * all<V>(0x0404'0404) + all<V>(0x0302'0100)));
    else
        return native(as<uint8_t>((lanes << 3 | lanes << 11 | lanes << 19 | lanes << 27 | lanes << 35 | lanes << 43 |
                                   lanes << 51 | lanes << 59) +
                                  all<V>(0x0706'0504'0302'0100)));
}
template <class T, size_t N>
VK_SIMD_INLINE Vec<T, N> permute(Vec<T, N> v, Vec<IntOf<sizeof(T), false>, N> order) noexcept
    requires(N * sizeof(T) == 16)
{
    return from_native<Vec<T, N>>(vqtbl1q_u8(native(as<uint8_t>(v)), byte_indices<N>(order)));
}
template <class T, size_t N>
VK_SIMD_INLINE Vec<T, N> permute(Vec<T, N> a, Vec<T, N> b, Vec<IntOf<sizeof(T), false>, N> order) noexcept
    requires(N * sizeof(T) == 16)
{
    const uint8x16x2_t both = {{native(as<uint8_t>(a)), native(as<uint8_t>(b))}};
    return from_native<Vec<T, N>>(vqtbl2q_u8(both, byte_indices<2 * N>(order)));
}

/// Sixteen bytes of two blocks one after the other, from byte `From` on.
template <int From> VK_SIMD_INLINE Vec<uint8_t, 16> align(Vec<uint8_t, 16> low, Vec<uint8_t, 16> high) noexcept
{
    if constexpr (From == 16)
        return high;
    else
        return from_native<Vec<uint8_t, 16>>(vextq_u8(native(low), native(high), From));
}

// ---- truths ----

/// The highest bit of each lane: each lane that has it keeps a bit of its own, and these are added up.
template <class T, size_t N> VK_SIMD_INLINE uint64_t high_bits(Vec<T, N> v) noexcept requires(N * sizeof(T) == 16)
{
    if constexpr (sizeof(T) == 1) {
        constexpr uint8x16_t kOwn = {1, 2, 4, 8, 16, 32, 64, 128, 1, 2, 4, 8, 16, 32, 64, 128};
        uint8x16_t sums = vandq_u8(vcltzq_s8(native(as<int8_t>(v))), kOwn);
        for (int halving = 0; halving < 3; ++halving)
            sums = vpaddq_u8(sums, sums);
        return vgetq_lane_u16(vreinterpretq_u16_u8(sums), 0);
    } else if constexpr (sizeof(T) == 2) {
        constexpr uint16x8_t kOwn = {1, 2, 4, 8, 16, 32, 64, 128};
        return vaddvq_u16(vandq_u16(vcltzq_s16(native(as<int16_t>(v))), kOwn));
    } else if constexpr (sizeof(T) == 4) {
        constexpr uint32x4_t kOwn = {1, 2, 4, 8};
        return vaddvq_u32(vandq_u32(vcltzq_s32(native(as<int32_t>(v))), kOwn));
    } else {
        constexpr uint64x2_t kOwn = {1, 2};
        return vaddvq_u64(vandq_u64(vcltzq_s64(native(as<int64_t>(v))), kOwn));
    }
}

} // namespace vk::simd::inline VK_SIMD_SET
