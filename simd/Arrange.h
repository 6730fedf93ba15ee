// Lanes brought into an order that is known when compiling: the compiler finds the instructions for it. Orders are
// functions of a lane's index; those of two vectors count the second one's lanes behind the first one's.
#pragma once

#include "simd/Order.h"

#include <utility>

namespace vk::simd::inline VK_SIMD_SET {

/// Blocks of 16 bytes in a vector of the set's width.
inline constexpr size_t kWideBlocks = kWidth / 16;

template <auto From, class T, size_t N, size_t... Index>
VK_SIMD_INLINE Vec<T, N> arranged(Vec<T, N> a, Vec<T, N> b, std::index_sequence<Index...>) noexcept
{
    return {__builtin_shufflevector(a.raw, b.raw, static_cast<int>(From(Index))...)};
}
template <auto From, class T, size_t N> VK_SIMD_INLINE Vec<T, N> arrange(Vec<T, N> a, Vec<T, N> b) noexcept
{
    return arranged<From>(a, b, std::make_index_sequence<N>());
}
template <auto From, class T, size_t N> VK_SIMD_INLINE Vec<T, N> arrange(Vec<T, N> v) noexcept
{
    return arranged<From>(v, v, std::make_index_sequence<N>());
}

/// A vector of `f(lane)`, which is worked out beforehand where it is known.
template <class V, class F> VK_SIMD_INLINE V lanes_of(const F& f) noexcept
{
    V v;
    for (size_t i = 0; i < V::kLanes; ++i)
        v.raw[i] = static_cast<typename V::Lane>(f(i));
    return v;
}

/// A vector of blocks `f(0)`, `f(1)` and so on.
template <class V, class F> VK_SIMD_INLINE V blocks_of(const F& f) noexcept
{
    constexpr size_t kCount = V::kBytes / 16;
    if constexpr (kCount == 1)
        return f(0);
    else if constexpr (kCount == 2)
        return both(f(0), f(1));
    else
        return both(both(f(0), f(1)), both(f(2), f(3)));
}

/// Every fourth lane of 32 bits, from lane `Which` on, in place of the four of its block.
template <size_t Which, class T, size_t N>
VK_SIMD_INLINE Vec<T, N> of_block(Vec<T, N> v) noexcept requires(sizeof(T) == 4)
{
    return arrange<[](size_t i) { return i / 4 * 4 + Which; }>(v);
}

/// Packing puts half a block of each of two vectors by turns: the eights of bytes, or lanes of 64 bits, in order again.
template <class T, size_t N> VK_SIMD_INLINE Vec<T, N> unpacked(Vec<T, N> v) noexcept
{
    if constexpr (Vec<T, N>::kBytes == 16) {
        return v;
    } else {
        constexpr size_t kEach = Vec<T, N>::kBytes / 16;
        return as<T>(arrange<[](size_t i) { return i % kEach * 2 + i / kEach; }>(as<uint64_t>(v)));
    }
}

/// The same of four vectors that were packed twice: the fours of bytes.
template <class T, size_t N> VK_SIMD_INLINE Vec<T, N> unpacked_4(Vec<T, N> v) noexcept
{
    if constexpr (Vec<T, N>::kBytes == 16) {
        return v;
    } else {
        constexpr size_t kEach = Vec<T, N>::kBytes / 16;
        return as<T>(arrange<[](size_t i) { return i % kEach * 4 + i / kEach; }>(as<uint32_t>(v)));
    }
}

/// In blocks, the first and the third lane of 32 bits, or the others, of `a`, then of `b`. As reals: more compilers
/// know the step among these.
template <size_t First, class T, size_t N>
VK_SIMD_INLINE Vec<T, N> every_other_in_blocks(Vec<T, N> a, Vec<T, N> b) noexcept requires(sizeof(T) == 4)
{
    return as<T>(arrange<[](size_t i) { return i / 4 * 4 + i % 2 * 2 + First + (i % 4 < 2 ? 0 : N); }>(as<float>(a),
                                                                                                       as<float>(b)));
}

/// The first, third and so on of a row of lanes of 32 bits, or the others: those of `a`, then of `b`.
template <size_t First, class T, size_t N>
VK_SIMD_INLINE Vec<T, N> every_other(Vec<T, N> a, Vec<T, N> b) noexcept requires(sizeof(T) == 4)
{
    if constexpr (Vec<T, N>::kBytes == 32)
        return unpacked(every_other_in_blocks<First>(a, b));
    else
        return arrange<[](size_t i) { return 2 * i + First; }>(a, b);
}

/// Every other block of two vectors, from the first on or the second: those of `a`, then of `b`. Vectors of one block
/// are the first and the second.
template <size_t First, class T, size_t N> VK_SIMD_INLINE Vec<T, N> every_other_block(Vec<T, N> a, Vec<T, N> b) noexcept
{
    if constexpr (Vec<T, N>::kBytes == 16)
        return First == 0 ? a : b;
    else
        return as<T>(arrange<[](size_t i) { return i / 2 * 4 + First * 2 + i % 2; }>(as<uint64_t>(a), as<uint64_t>(b)));
}

/// The lanes one place up, the last of `before` as the first.
template <class T, size_t N>
VK_SIMD_INLINE Vec<T, N> moved_up(Vec<T, N> before, Vec<T, N> v) noexcept requires(sizeof(T) == 4)
{
    if constexpr (Vec<T, N>::kBytes == 32) {
        const auto middle = arrange<[](size_t i) { return i + 2; }>(as<uint64_t>(before), as<uint64_t>(v));
        return as<T>(align<12>(as<uint8_t>(middle), as<uint8_t>(v)));
    } else {
        return arrange<[](size_t i) { return N - 1 + i; }>(before, v);
    }
}

} // namespace vk::simd::inline VK_SIMD_SET
