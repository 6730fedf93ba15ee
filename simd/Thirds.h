// Pixels of three bytes: a value for each of its bytes.
#pragma once

#include "simd/Order.h"

namespace vk::simd::inline VK_SIMD_SET {

/// For each byte of `Part`, of three, of as many three-byte pixels as a vector has bytes, the value of its pixel.
template <size_t Part> VK_SIMD_INLINE Wide<uint8_t> thrice(Wide<uint8_t> values) noexcept
{
    using Bytes = Wide<uint8_t>;
    if constexpr (kPermutesBytes) {
        static constexpr auto kOrder = order_of<kWidth>([](size_t i) { return (Part * kWidth + i) / 3; });
        return permute(values, kOrder.template load<Bytes>());
    } else {
        static constexpr auto kOrder = order_of<kWidth>([](size_t i) { return (Part * kWidth + i) / 3 % 16; });
        if constexpr (kWidth == 16) {
            return shuffle(values, kOrder.template load<Bytes>());
        } else {
            const auto first = Part < 2 ? low_half(values) : high_half(values);
            const auto last = Part < 1 ? low_half(values) : high_half(values);
            return shuffle(both(first, last), kOrder.template load<Bytes>());
        }
    }
}

} // namespace vk::simd::inline VK_SIMD_SET
