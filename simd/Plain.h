// The operations that compilers have no notation for, as loops over lanes. A set's own file (X86.h, Neon.h) has
// overloads for what its processors do in a step or two; where it has none, these stand in, so that whatever a kernel
// says runs on every processor. `plain::` names them for the tests that hold the others against them.
//
// "In blocks" means that each 16 bytes of a vector are treated alike and apart from the others, as the processors'
// wider sets do. Counts of bits that an operation shifts by, and indices, are in the range of the lane unless it says
// otherwise.
#pragma once

#include "simd/Vec.h"

namespace vk::simd::inline VK_SIMD_SET {

namespace plain {

/// `f` of each lane, or of each pair of lanes.
template <class R, class F, class T, size_t N> VK_SIMD_INLINE Vec<R, N> map(F f, Vec<T, N> a) noexcept
{
    Vec<R, N> result;
    for (size_t i = 0; i < N; ++i)
        result.raw[i] = static_cast<R>(f(a.raw[i]));
    return result;
}
template <class R, class F, class T, size_t N> VK_SIMD_INLINE Vec<R, N> map(F f, Vec<T, N> a, Vec<T, N> b) noexcept
{
    Vec<R, N> result;
    for (size_t i = 0; i < N; ++i)
        result.raw[i] = static_cast<R>(f(a.raw[i], b.raw[i]));
    return result;
}

/// The nearest number that a narrower type has.
template <class To, class From> VK_SIMD_INLINE To clamped(From value) noexcept
{
    constexpr bool kSigned = std::is_signed_v<To>;
    constexpr int64_t kMost = static_cast<int64_t>((uint64_t{1} << (8 * sizeof(To) - (kSigned ? 1 : 0))) - 1);
    constexpr int64_t kLeast = kSigned ? -kMost - 1 : 0;
    const auto wide = static_cast<int64_t>(value);
    return static_cast<To>(wide < kLeast ? kLeast : wide > kMost ? kMost : wide);
}

// ---- arithmetic ----

template <class T, size_t N> VK_SIMD_INLINE Vec<T, N> min(Vec<T, N> a, Vec<T, N> b) noexcept
{
    return map<T>([](T x, T y) noexcept { return x < y ? x : y; }, a, b);
}
template <class T, size_t N> VK_SIMD_INLINE Vec<T, N> max(Vec<T, N> a, Vec<T, N> b) noexcept
{
    return map<T>([](T x, T y) noexcept { return x > y ? x : y; }, a, b);
}

/// Sums and differences that stay at the type's ends (8 and 16 bits).
template <class T, size_t N> VK_SIMD_INLINE Vec<T, N> add_clamped(Vec<T, N> a, Vec<T, N> b) noexcept
{
    return map<T>([](T x, T y) noexcept { return clamped<T>(x + y); }, a, b);
}
template <class T, size_t N> VK_SIMD_INLINE Vec<T, N> sub_clamped(Vec<T, N> a, Vec<T, N> b) noexcept
{
    return map<T>([](T x, T y) noexcept { return clamped<T>(x - y); }, a, b);
}

/// (a + b + 1) / 2 of unsigned numbers of 8 and 16 bits.
template <class T, size_t N> VK_SIMD_INLINE Vec<T, N> average(Vec<T, N> a, Vec<T, N> b) noexcept
{
    return map<T>([](T x, T y) noexcept { return (x + y + 1) >> 1; }, a, b);
}

/// The upper 16 bits of products of 16-bit numbers.
template <class T, size_t N> VK_SIMD_INLINE Vec<T, N> mul_high(Vec<T, N> a, Vec<T, N> b) noexcept
{
    using Product = IntOf<4, std::is_signed_v<T>>;
    return map<T>([](T x, T y) noexcept { return static_cast<Product>(static_cast<Product>(x) * y) >> 16; }, a, b);
}

/// Signed products of 16 bits by 2^15, rounded; not for -32768 by itself.
template <size_t N> VK_SIMD_INLINE Vec<int16_t, N> mul_rounded(Vec<int16_t, N> a, Vec<int16_t, N> b) noexcept
{
    return map<int16_t>([](int16_t x, int16_t y) noexcept { return (x * y + (1 << 14)) >> 15; }, a, b);
}

/// Sums of two neighbours' products; not for -32768 four times.
template <size_t N> VK_SIMD_INLINE Vec<int32_t, N / 2> mul_pairs(Vec<int16_t, N> a, Vec<int16_t, N> b) noexcept
{
    Vec<int32_t, N / 2> sums;
    for (size_t i = 0; i < N / 2; ++i)
        sums.raw[i] = a.raw[2 * i] * b.raw[2 * i] + a.raw[2 * i + 1] * b.raw[2 * i + 1];
    return sums;
}

/// The same of unsigned bytes by signed ones, each sum kept in the type's range.
template <size_t N> VK_SIMD_INLINE Vec<int16_t, N / 2> mul_pairs(Vec<uint8_t, N> a, Vec<int8_t, N> b) noexcept
{
    Vec<int16_t, N / 2> sums;
    for (size_t i = 0; i < N / 2; ++i)
        sums.raw[i] = clamped<int16_t>(a.raw[2 * i] * b.raw[2 * i] + a.raw[2 * i + 1] * b.raw[2 * i + 1]);
    return sums;
}

/// Products of every other number of 32 bits, from the first on, in full.
template <size_t N> VK_SIMD_INLINE Vec<uint64_t, N / 2> mul_even(Vec<uint32_t, N> a, Vec<uint32_t, N> b) noexcept
{
    Vec<uint64_t, N / 2> products;
    for (size_t i = 0; i < N / 2; ++i)
        products.raw[i] = uint64_t{a.raw[2 * i]} * b.raw[2 * i];
    return products;
}

template <size_t N> VK_SIMD_INLINE Vec<int64_t, N / 2> mul_even(Vec<int32_t, N> a, Vec<int32_t, N> b) noexcept
{
    Vec<int64_t, N / 2> products;
    for (size_t i = 0; i < N / 2; ++i)
        products.raw[i] = int64_t{a.raw[2 * i]} * b.raw[2 * i];
    return products;
}

/// Shifts by a count that is only known when running; each lane by a count of its own.
template <class T, size_t N> VK_SIMD_INLINE Vec<T, N> shift_left(Vec<T, N> a, int count) noexcept
{
    return a << count;
}
template <class T, size_t N> VK_SIMD_INLINE Vec<T, N> shift_right(Vec<T, N> a, int count) noexcept
{
    return a >> count;
}
template <class T, size_t N> VK_SIMD_INLINE Vec<T, N> shift_left(Vec<T, N> a, Vec<T, N> counts) noexcept
{
    return Vec<T, N>::of(a.bits() << counts.bits());
}
template <class T, size_t N> VK_SIMD_INLINE Vec<T, N> shift_right(Vec<T, N> a, Vec<T, N> counts) noexcept
{
    return {a.raw >> counts.raw};
}

/// Whole numbers of reals, cut off, and reals of whole numbers.
template <size_t N> VK_SIMD_INLINE Vec<int32_t, N> cut_off(Vec<float, N> a) noexcept
{
    return map<int32_t>([](float x) noexcept { return x; }, a);
}
template <size_t N> VK_SIMD_INLINE Vec<int32_t, N> cut_off(Vec<double, N> a) noexcept
{
    return map<int32_t>([](double x) noexcept { return x; }, a);
}
template <size_t N> VK_SIMD_INLINE Vec<float, N> to_float(Vec<int32_t, N> a) noexcept
{
    return map<float>([](int32_t x) noexcept { return x; }, a);
}
template <size_t N> VK_SIMD_INLINE Vec<double, N> to_double(Vec<int32_t, N> a) noexcept
{
    return map<double>([](int32_t x) noexcept { return x; }, a);
}
/// The nearest real, which large numbers are not quite.
template <size_t N> VK_SIMD_INLINE Vec<double, N> to_double(Vec<int64_t, N> a) noexcept
{
    return map<double>([](int64_t x) noexcept { return x; }, a);
}
template <size_t N> VK_SIMD_INLINE Vec<float, N> to_float(Vec<double, N> a) noexcept
{
    return map<float>([](double x) noexcept { return x; }, a);
}

// ---- widths ----

template <class T, size_t N> VK_SIMD_INLINE Vec<T, N / 2> low_half(Vec<T, N> v) noexcept
{
    Vec<T, N / 2> half;
    __builtin_memcpy(&half, &v, sizeof half);
    return half;
}
template <class T, size_t N> VK_SIMD_INLINE Vec<T, N / 2> high_half(Vec<T, N> v) noexcept
{
    Vec<T, N / 2> half;
    __builtin_memcpy(&half, reinterpret_cast<const char*>(&v) + sizeof half, sizeof half);
    return half;
}
template <class T, size_t N> VK_SIMD_INLINE Vec<T, 2 * N> both(Vec<T, N> low, Vec<T, N> high) noexcept
{
    Vec<T, 2 * N> v;
    __builtin_memcpy(&v, &low, sizeof low);
    __builtin_memcpy(reinterpret_cast<char*>(&v) + sizeof low, &high, sizeof high);
    return v;
}

/// The same numbers in twice the bits, or in four times.
template <class T, size_t N> VK_SIMD_INLINE auto widen(Vec<T, N> v) noexcept
{
    return map<IntOf<2 * sizeof(T), std::is_signed_v<T>>>([](T x) noexcept { return x; }, v);
}
template <class T, size_t N> VK_SIMD_INLINE auto widen_4(Vec<T, N> v) noexcept
{
    return map<IntOf<4 * sizeof(T), std::is_signed_v<T>>>([](T x) noexcept { return x; }, v);
}

/// The lower half of each number's bits, or the lowest quarter.
template <class T, size_t N> VK_SIMD_INLINE auto cut(Vec<T, N> v) noexcept
{
    return map<IntOf<sizeof(T) / 2, std::is_signed_v<T>>>([](T x) noexcept { return x; }, v);
}
template <class T, size_t N> VK_SIMD_INLINE auto cut_4(Vec<T, N> v) noexcept
{
    return map<IntOf<sizeof(T) / 4, std::is_signed_v<T>>>([](T x) noexcept { return x; }, v);
}

/// Numbers of `a`, then of `b`, in half of their bits, kept in the narrower type's range, in blocks: a block of the
/// result has a block of each.
template <class To, class T, size_t N> VK_SIMD_INLINE Vec<To, 2 * N> packed(Vec<T, N> a, Vec<T, N> b) noexcept
{
    constexpr size_t kBlock = 16 / sizeof(T);
    Vec<To, 2 * N> v;
    for (size_t i = 0; i < N; ++i) {
        v.raw[i / kBlock * 2 * kBlock + i % kBlock] = clamped<To>(a.raw[i]);
        v.raw[i / kBlock * 2 * kBlock + kBlock + i % kBlock] = clamped<To>(b.raw[i]);
    }
    return v;
}
/// From signed to signed numbers, or to unsigned ones; of 16 and 32 bits.
template <class T, size_t N> VK_SIMD_INLINE auto pack(Vec<T, N> a, Vec<T, N> b) noexcept
{
    return packed<IntOf<sizeof(T) / 2, true>>(a, b);
}
template <class T, size_t N> VK_SIMD_INLINE auto pack_unsigned(Vec<T, N> a, Vec<T, N> b) noexcept
{
    return packed<IntOf<sizeof(T) / 2, false>>(a, b);
}

// ---- order ----

/// Numbers of `a` and `b` by turns, in blocks: those of the blocks' lower halves, or upper ones.
template <size_t Half, class T, size_t N> VK_SIMD_INLINE Vec<T, N> by_turns(Vec<T, N> a, Vec<T, N> b) noexcept
{
    constexpr size_t kBlock = 16 / sizeof(T);
    Vec<T, N> v;
    for (size_t i = 0; i < N; ++i) {
        const size_t from = i / kBlock * kBlock + Half * kBlock / 2 + i % kBlock / 2;
        v.raw[i] = i % 2 == 0 ? a.raw[from] : b.raw[from];
    }
    return v;
}
template <class T, size_t N> VK_SIMD_INLINE Vec<T, N> interleave_low(Vec<T, N> a, Vec<T, N> b) noexcept
{
    return by_turns<0>(a, b);
}
template <class T, size_t N> VK_SIMD_INLINE Vec<T, N> interleave_high(Vec<T, N> a, Vec<T, N> b) noexcept
{
    return by_turns<1>(a, b);
}

/// Bytes taken by their indices from the same block; zero where the index's highest bit is set. Bits 4 to 6 are clear.
template <size_t N> VK_SIMD_INLINE Vec<uint8_t, N> shuffle(Vec<uint8_t, N> v, Vec<uint8_t, N> order) noexcept
{
    Vec<uint8_t, N> result;
    for (size_t i = 0; i < N; ++i) {
        const uint8_t index = order.raw[i];
        result.raw[i] = (index & 0x80) != 0 ? uint8_t{0} : v.raw[i / 16 * 16 + index % 16];
    }
    return result;
}

/// Lanes taken from anywhere in a vector. Cheap where lanes have 32 bits or kPermutesBytes says so.
template <class T, size_t N>
VK_SIMD_INLINE Vec<T, N> permute(Vec<T, N> v, Vec<IntOf<sizeof(T), false>, N> order) noexcept
{
    Vec<T, N> result;
    for (size_t i = 0; i < N; ++i)
        result.raw[i] = v.raw[order.raw[i] % N];
    return result;
}

/// The same from two vectors, whose lanes are counted one after the other.
template <class T, size_t N>
VK_SIMD_INLINE Vec<T, N> permute(Vec<T, N> a, Vec<T, N> b, Vec<IntOf<sizeof(T), false>, N> order) noexcept
{
    Vec<T, N> result;
    for (size_t i = 0; i < N; ++i) {
        const size_t index = order.raw[i] % (2 * N);
        result.raw[i] = index < N ? a.raw[index] : b.raw[index - N];
    }
    return result;
}

/// Sixteen bytes of two blocks one after the other, from byte `From` on, in blocks.
template <int From, size_t N> VK_SIMD_INLINE Vec<uint8_t, N> align(Vec<uint8_t, N> low, Vec<uint8_t, N> high) noexcept
{
    Vec<uint8_t, N> result;
    for (size_t i = 0; i < N; ++i) {
        const size_t index = i % 16 + From;
        const size_t block = i / 16 * 16;
        result.raw[i] = index < 16 ? low.raw[block + index] : high.raw[block + index - 16];
    }
    return result;
}

/// Sixteen bytes in every block.
template <class V, class T, size_t N> VK_SIMD_INLINE V repeat(Vec<T, N> block) noexcept
{
    V v;
    for (size_t at = 0; at < V::kBytes; at += 16)
        __builtin_memcpy(reinterpret_cast<char*>(&v) + at, &block, 16);
    return v;
}

// ---- memory ----

/// A store to a multiple of the vector's size that goes past the caches, where processors can; fence() ends a run of
/// them.
template <class T, size_t N> VK_SIMD_INLINE void stream(void* to, Vec<T, N> v) noexcept
{
    store(to, v);
}
VK_SIMD_INLINE void fence() noexcept {}

/// Numbers of 32 bits, at any address, from offsets in bytes.
template <size_t N> VK_SIMD_INLINE Vec<int32_t, N> gather(const void* base, Vec<int32_t, N> offsets) noexcept
{
    Vec<int32_t, N> v;
    for (size_t i = 0; i < N; ++i) {
        int32_t number;
        __builtin_memcpy(&number, static_cast<const char*>(base) + offsets.raw[i], sizeof number);
        v.raw[i] = number;
    }
    return v;
}

/// The highest bit of each lane, the first lane's lowest.
template <class T, size_t N> VK_SIMD_INLINE uint64_t high_bits(Vec<T, N> v) noexcept
{
    uint64_t bits = 0;
    for (size_t i = 0; i < N; ++i)
        bits |= static_cast<uint64_t>(v.bits()[i] >> (8 * sizeof(T) - 1)) << i;
    return bits;
}

} // namespace plain

using plain::add_clamped;
using plain::align;
using plain::average;
using plain::both;
using plain::cut;
using plain::cut_4;
using plain::cut_off;
using plain::gather;
using plain::high_bits;
using plain::high_half;
using plain::interleave_high;
using plain::interleave_low;
using plain::low_half;
using plain::max;
using plain::min;
using plain::mul_even;
using plain::mul_high;
using plain::mul_pairs;
using plain::mul_rounded;
using plain::pack;
using plain::pack_unsigned;
using plain::permute;
using plain::repeat;
using plain::shift_left;
using plain::shift_right;
using plain::shuffle;
using plain::stream;
using plain::sub_clamped;
using plain::to_double;
using plain::to_float;
using plain::widen;
using plain::widen_4;

} // namespace vk::simd::inline VK_SIMD_SET
