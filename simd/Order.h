// Orders of bytes made by the compiler, for shuffles and permutations.
#pragma once

#include "simd/Mask.h"

namespace vk::simd::inline VK_SIMD_SET {

/// Indices of bytes, `kNone` where the result is to be zero.
inline constexpr uint8_t kNone = 0x80;

template <size_t N> struct Order {
    alignas(N % 64 == 0 ? 64 : N % 32 == 0 ? 32 : 16) uint8_t at[N];

    template <class V> VK_SIMD_INLINE V load() const noexcept { return simd::load<V>(at); }
};

/// An order of N bytes from a function of the index.
template <size_t N, class F> consteval Order<N> order_of(F from) noexcept
{
    Order<N> order{};
    for (size_t i = 0; i < N; ++i)
        order.at[i] = static_cast<uint8_t>(from(i));
    return order;
}

/// A shuffle of 16 bytes, the same in every block of a vector.
template <class V> VK_SIMD_INLINE V in_blocks(const Order<16>& order) noexcept
{
    return repeat<V>(simd::load<Quad<uint8_t>>(order.at));
}

} // namespace vk::simd::inline VK_SIMD_SET
