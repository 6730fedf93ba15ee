// Lanes and bytes in an order known when compiling.
#pragma once

#include "simd/Order.h"

namespace vk::simd::inline VK_SIMD_SET {

/// The lanes of the given indices; those of a second vector count on behind the first one's.
template <size_t... Index, class T, size_t N> VK_SIMD_INLINE Vec<T, N> pick(Vec<T, N> v) noexcept
{
    static_assert(sizeof...(Index) == N);
    return {__builtin_shufflevector(v.raw, v.raw, Index...)};
}
template <size_t... Index, class T, size_t N> VK_SIMD_INLINE Vec<T, N> pick(Vec<T, N> a, Vec<T, N> b) noexcept
{
    static_assert(sizeof...(Index) == N);
#if VK_SIMD_X86
    if constexpr (N == 4 && sizeof(T) == 4) { // compilers take two steps for some
        constexpr size_t kIndex[] = {Index...};
        constexpr int kOrder = kIndex[0] % 4 | kIndex[1] % 4 << 2 | kIndex[2] % 4 << 4 | kIndex[3] % 4 << 6;
        if constexpr (kIndex[0] < 4 && kIndex[1] < 4 && kIndex[2] >= 4 && kIndex[3] >= 4)
            return {reinterpret_cast<typename Vec<T, N>::Raw>(
                _mm_shuffle_ps(reinterpret_cast<__m128>(a.raw), reinterpret_cast<__m128>(b.raw), kOrder))};
    }
#endif
    return {__builtin_shufflevector(a.raw, b.raw, Index...)};
}

/// The bits of `yes` where `ones` has ones, else those of `no`.
template <class T, size_t N> VK_SIMD_INLINE Vec<T, N> select_bits(Vec<T, N> ones, Vec<T, N> yes, Vec<T, N> no) noexcept
{
#if VK_SIMD_X86
    if constexpr (Vec<T, N>::kBytes == 16) // which compilers rewrite into something that takes longer
        return (ones & yes) | from_native<Vec<T, N>>(_mm_andnot_si128(native(ones), native(no)));
#endif
    return (ones & yes) | (no & ~ones);
}

/// One number in the first lane; the others are zero.
template <class V> VK_SIMD_INLINE V first(typename V::Lane value) noexcept
{
    return {typename V::Raw{value}};
}

/// Sixteen bytes from one place and, where the vector has room, from another.
template <class V> VK_SIMD_INLINE V load_both(const void* low, [[maybe_unused]] const void* high) noexcept
{
    using Half = Quad<typename V::Lane>;
    if constexpr (V::kBytes == Half::kBytes)
        return load<V>(low);
    else
        return both(load<Half>(low), load<Half>(high));
}

/// Sixteen bytes moved up by some; zeros come in.
template <int Bytes, class T, size_t N>
VK_SIMD_INLINE Vec<T, N> move_up(Vec<T, N> v) noexcept requires(N * sizeof(T) == 16)
{
#if VK_SIMD_X86
    return from_native<Vec<T, N>>(_mm_slli_si128(native(v), Bytes));
#else
    return as<T>(align<16 - Bytes>(Quad<uint8_t>{}, as<uint8_t>(v)));
#endif
}

/// Pixels of `Size` bytes, as many as end with the vector, the last one first. Where they are not all of its bytes, the
/// rest means nothing.
template <size_t Size, size_t N> VK_SIMD_INLINE Vec<uint8_t, N> from_back(Vec<uint8_t, N> v) noexcept
{
    constexpr auto from = [](size_t count) constexpr noexcept
    {
        return [count](size_t i) noexcept {
            return i < count / Size * Size ? count - Size - i / Size * Size + i % Size : 0;
        };
    };
    if constexpr (N == 16 || !kPermutesBytes) {
        static_assert(N == 16 || 16 % Size == 0);
        static constexpr auto kOrder = order_of<16>(from(16));
        const auto turned = as<uint64_t>(shuffle(v, in_blocks<Vec<uint8_t, N>>(kOrder)));
        if constexpr (N == 16)
            return as<uint8_t>(turned);
        else
            return as<uint8_t>(pick<2, 3, 0, 1>(turned));
    } else {
        static constexpr auto kOrder = order_of<N>(from(N));
        return permute(v, kOrder.template load<Vec<uint8_t, N>>());
    }
}

/// Whether three blocks of 16 bytes are turned in one go, so that pixels of three and six bytes fill them.
inline constexpr bool kTurnsThree = VK_SIMD_NEON != 0;

/// The same of the pixels of three blocks, in memory.
template <size_t Size> VK_SIMD_INLINE void turn_three(uint8_t* to, const uint8_t* from) noexcept
{
#if VK_SIMD_NEON
    static constexpr auto kOrder = order_of<48>([](size_t i) { return 48 - Size - i / Size * Size + i % Size; });
    const uint8x16x3_t row = vld1q_u8_x3(from), order = vld1q_u8_x3(kOrder.at);
    vst1q_u8_x3(to, {{vqtbl3q_u8(row, order.val[0]), vqtbl3q_u8(row, order.val[1]), vqtbl3q_u8(row, order.val[2])}});
#else
    static_cast<void>(to);
    static_cast<void>(from);
    static_assert(Size == 0, "ask kTurnsThree");
#endif
}

/// Transposes as many rows as a block of 16 bytes has lanes, in blocks.
template <class T, size_t N> VK_SIMD_INLINE void transpose(Vec<T, N> (&rows)[16 / sizeof(T)]) noexcept
{
    constexpr size_t kCount = 16 / sizeof(T);
    for (size_t width = 1; width < kCount; width *= 2) {
        Vec<T, N> next[kCount];
        for (size_t i = 0; i < kCount / 2; ++i) {
            next[2 * i] = interleave_low(rows[i], rows[i + kCount / 2]);
            next[2 * i + 1] = interleave_high(rows[i], rows[i + kCount / 2]);
        }
        for (size_t i = 0; i < kCount; ++i)
            rows[i] = next[i];
    }
}

} // namespace vk::simd::inline VK_SIMD_SET
