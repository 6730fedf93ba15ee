// Pixels of one bit, the first in a byte's highest.
#pragma once

#include "simd/InOrder.h"

namespace vk::simd::inline VK_SIMD_SET {

/// Where a lane has the bit of the other operand's, which has one in each lane.
template <class T, size_t N> VK_SIMD_INLINE Mask<T, N> has_bit(Vec<T, N> v, Vec<T, N> bit) noexcept
{
#if VK_SIMD_X86 == 3
    if constexpr (N == 64)
        return {_mm512_test_epi8_mask(native(v), native(bit))};
    else
#endif
        return (v & bit) == bit;
}

/// Truths of as many pixels of one bit as a vector has bytes.
VK_SIMD_INLINE Mask<uint8_t, kWidth> load_pixel_bits(const uint8_t* from) noexcept
{
    using Bytes = Wide<uint8_t>;
    static constexpr auto kByte = order_of<kWidth>([](size_t i) { return i / 8; });
    using Word = IntOf<kWidth / 8, false>;
    Word bits;
    __builtin_memcpy(&bits, from, sizeof bits);
    const Bytes bytes = shuffle(as<uint8_t>(all<Wide<Word>>(bits)), kByte.template load<Bytes>());
    return has_bit(bytes, as<uint8_t>(all<Wide<uint64_t>>(0x0102040810204080)));
}

/// Bytes so that the truths of them, as bits, are pixels of one bit in order.
VK_SIMD_INLINE Wide<uint8_t> before_pixel_bits(Wide<uint8_t> v) noexcept
{
    static constexpr auto kBackwards = order_of<16>([](size_t i) { return i / 8 * 8 + 7 - i % 8; });
    return shuffle(v, in_blocks<Wide<uint8_t>>(kBackwards));
}
VK_SIMD_INLINE void store_pixel_bits(uint8_t* to, Mask<uint8_t, kWidth> truths, uint64_t flip = 0) noexcept
{
    const uint64_t set = bits(truths) ^ flip;
    __builtin_memcpy(to, &set, kWidth / 8);
}

/// Every third bit of a word, or every fourth, from bit `From` on, moved together at the lowest end.
template <size_t Every> VK_SIMD_INLINE uint64_t gathered_bits(uint64_t word, size_t from) noexcept
{
    static_assert(Every == 3 || Every == 4);
    constexpr uint64_t kThem = Every == 3 ? 0x9249249249249249u : 0x1111111111111111u;
#if VK_SIMD_X86 >= 2
    return _pext_u64(word, kThem << from);
#else
    // Neighbours are brought together, and then pairs, and so on; the bit that a word has one more of, apart.
    word = (word >> from) & kThem;
    const uint64_t last = Every == 3 ? word >> 63 << 21 : 0;
    if constexpr (Every == 3) {
        word &= ~uint64_t{0} >> 1;
        word = (word | word >> 2) & 0x10C30C30C30C30C3u;
        word = (word | word >> 4) & 0x100F00F00F00F00Fu;
        word = (word | word >> 8) & 0x1F0000FF0000FFu;
        word = (word | word >> 16) & 0x1F00000000FFFFu;
        word = (word | word >> 32) & 0x1FFFFFu;
    } else {
        word = (word | word >> 3) & 0x0303030303030303u;
        word = (word | word >> 6) & 0x000F000F000F000Fu;
        word = (word | word >> 12) & 0x000000FF000000FFu;
        word = (word | word >> 24) & 0xFFFFu;
    }
    return word | last;
#endif
}

} // namespace vk::simd::inline VK_SIMD_SET
