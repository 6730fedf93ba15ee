// Narrowing and interleaving whole vectors, in order: pack() and interleave_low() keep to their blocks, and the wider
// sets have several.
#pragma once

#include "simd/Arrange.h"

namespace vk::simd::inline VK_SIMD_SET {

/// A vector whose interleave_low() with another such one begins the result, and whose interleave_high() ends it.
template <class T, size_t N> VK_SIMD_INLINE Vec<T, N> before_interleave(Vec<T, N> v) noexcept
{
    return as<T>(arrange<[](size_t i) { return i % 2 * kWideBlocks + i / 2; }>(as<uint64_t>(v)));
}

/// Words of two vectors as bytes, kept in their range.
VK_SIMD_INLINE Wide<uint8_t> joined(Wide<int16_t> low, Wide<int16_t> high) noexcept
{
    return unpacked(pack_unsigned(low, high));
}

/// The lowest byte of every lane of two vectors of words, whose upper bytes are clear.
VK_SIMD_INLINE Wide<uint8_t> low_bytes(Wide<uint16_t> low, Wide<uint16_t> high) noexcept
{
    if constexpr (kPermutesBytes) {
        static constexpr auto kEven = order_of<kWidth>([](size_t i) { return 2 * i; });
        return permute(as<uint8_t>(low), as<uint8_t>(high), kEven.template load<Wide<uint8_t>>());
    } else {
        return joined(as<int16_t>(low), as<int16_t>(high));
    }
}

/// Byte `At`, 0 or 3, of every lane of four vectors. Of byte 0 the bytes above it are clear.
template <size_t At> VK_SIMD_INLINE Wide<uint8_t> bytes_of(const Wide<uint32_t> (&v)[4]) noexcept
{
    static_assert(At == 0 || At == 3);
#if VK_SIMD_NEON
    const auto bytes = [&](size_t i) noexcept { return native(as<uint8_t>(v[i])); };
    const auto halved = [](uint8x16_t low, uint8x16_t high) noexcept {
        return At == 0 ? vuzp1q_u8(low, high) : vuzp2q_u8(low, high);
    };
    return from_native<Wide<uint8_t>>(halved(halved(bytes(0), bytes(1)), halved(bytes(2), bytes(3))));
#else
    if constexpr (kPermutesBytes && kWidth == 64) {
        static constexpr auto kEvery = order_of<kWidth>([](size_t i) { return 4 * i + At; });
        const auto order = kEvery.template load<Wide<uint8_t>>();
        const auto low = permute(as<uint8_t>(v[0]), as<uint8_t>(v[1]), order);
        const auto high = permute(as<uint8_t>(v[2]), as<uint8_t>(v[3]), order);
        return both(low_half(low), low_half(high));
    } else {
        const auto number = [](Wide<uint32_t> lanes) noexcept { return as<int32_t>(At == 3 ? lanes >> 24 : lanes); };
        const auto low = pack(number(v[0]), number(v[1]));
        const auto high = pack(number(v[2]), number(v[3]));
        return unpacked_4(pack_unsigned(low, high));
    }
#endif
}

/// Stores the lowest byte of every lane; those above it are clear. kWidth / 4 bytes.
VK_SIMD_INLINE void store_low_bytes(void* to, Wide<uint32_t> v) noexcept
{
    const auto words = pack(as<int32_t>(v), as<int32_t>(v));
    store_first<kWidth / 4>(to, unpacked_4(pack_unsigned(words, words)));
}

/// Stores the lower word of every lane; the upper ones are clear. kWidth / 2 bytes.
VK_SIMD_INLINE void store_low_words(void* to, Wide<uint32_t> v) noexcept
{
    if constexpr (kWidth == 32)
        store(to, low_half(unpacked(pack_unsigned(as<int32_t>(v), as<int32_t>(v)))));
    else
        store(to, cut(v));
}

} // namespace vk::simd::inline VK_SIMD_SET
