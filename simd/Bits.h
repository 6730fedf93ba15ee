// Bits: fields of a few bits in bytes and in words, counting, and where bits are set.
#pragma once

#include "simd/InOrder.h"

namespace vk::simd::inline VK_SIMD_SET {

// ---- words of 64 bits ----

namespace plain {

/// The lowest bits of `word` in the places that `mask` has, and those in these places brought together.
VK_SIMD_INLINE uint64_t deposit(uint64_t word, uint64_t mask) noexcept
{
    uint64_t result = 0;
    for (; mask != 0; mask &= mask - 1, word >>= 1)
        result |= (word & 1) != 0 ? mask & (0 - mask) : 0;
    return result;
}
VK_SIMD_INLINE uint64_t extract(uint64_t word, uint64_t mask) noexcept
{
    uint64_t result = 0;
    for (uint64_t to = 1; mask != 0; mask &= mask - 1, to <<= 1)
        result |= (word & mask & (0 - mask)) != 0 ? to : 0;
    return result;
}

/// Fields of `bits` ones, `apart` bits apart.
constexpr uint64_t fields(int bits, int apart) noexcept
{
    uint64_t mask = 0;
    for (int at = 0; at < 64; at += apart)
        mask |= ((uint64_t{1} << bits) - 1) << at;
    return mask;
}

/// Eight fields of less than a byte, one after the other from the lowest bit on, in a byte each; and back, when nothing
/// else is in the bytes.
template <int Bits> VK_SIMD_INLINE uint64_t spread_fields(uint64_t word) noexcept
{
    word = (word & fields(4 * Bits, 64)) | (word << (32 - 4 * Bits) & fields(4 * Bits, 64) << 32);
    word = (word & fields(2 * Bits, 32)) | (word << (16 - 2 * Bits) & fields(2 * Bits, 32) << 16);
    return (word & fields(Bits, 16)) | (word << (8 - Bits) & fields(Bits, 16) << 8);
}
template <int Bits> VK_SIMD_INLINE uint64_t gather_fields(uint64_t word) noexcept
{
    word = (word & fields(Bits, 16)) | (word >> (8 - Bits) & fields(Bits, 16) << Bits);
    word = (word & fields(2 * Bits, 32)) | (word >> (16 - 2 * Bits) & fields(2 * Bits, 32) << 2 * Bits);
    return (word & fields(4 * Bits, 64)) | (word >> (32 - 4 * Bits) & fields(4 * Bits, 64) << 4 * Bits);
}

VK_SIMD_INLINE size_t count_bits(uint64_t bits) noexcept
{
    bits -= bits >> 1 & fields(1, 2);
    bits = (bits & fields(2, 4)) + (bits >> 2 & fields(2, 4));
    bits = (bits + (bits >> 4)) & fields(4, 8);
    return static_cast<size_t>(bits * fields(1, 8) >> 56);
}

/// Position of the lowest set bit; any number from 0 to 64 when there is none.
VK_SIMD_INLINE uint32_t lowest_bit(uint64_t bits) noexcept
{
    return static_cast<uint32_t>(__builtin_ctzll(bits | uint64_t{1} << 63));
}

} // namespace plain

#if VK_SIMD_X86 >= 2
VK_SIMD_INLINE uint64_t deposit(uint64_t word, uint64_t mask) noexcept
{
    return _pdep_u64(word, mask);
}
VK_SIMD_INLINE uint64_t extract(uint64_t word, uint64_t mask) noexcept
{
    return _pext_u64(word, mask);
}
template <int Bits> VK_SIMD_INLINE uint64_t spread_fields(uint64_t word) noexcept
{
    return _pdep_u64(word, plain::fields(Bits, 8));
}
template <int Bits> VK_SIMD_INLINE uint64_t gather_fields(uint64_t word) noexcept
{
    return _pext_u64(word, plain::fields(Bits, 8));
}
VK_SIMD_INLINE size_t count_bits(uint64_t bits) noexcept
{
    return static_cast<size_t>(__builtin_popcountll(bits));
}
VK_SIMD_INLINE uint32_t lowest_bit(uint64_t bits) noexcept
{
    return static_cast<uint32_t>(_tzcnt_u64(bits));
}
#elif VK_SIMD_NEON
VK_SIMD_INLINE size_t count_bits(uint64_t bits) noexcept
{
    return static_cast<size_t>(__builtin_popcountll(bits));
}
using plain::deposit;
using plain::extract;
using plain::gather_fields;
using plain::lowest_bit;
using plain::spread_fields;
#else
using plain::count_bits;
using plain::deposit;
using plain::extract;
using plain::gather_fields;
using plain::lowest_bit;
using plain::spread_fields;
#endif

/// Appends the positions of words' set bits to a list, counted on from word to word. The list needs room for all 64.
class Positions {
public:
#if VK_SIMD_X86 == 3
    explicit VK_SIMD_INLINE Positions(uint32_t base) noexcept : base_(all<Numbers>(static_cast<uint16_t>(base))) {}

    VK_SIMD_INLINE size_t append(uint64_t bits, uint16_t* list, size_t count) noexcept
    {
        static constexpr auto kAll = order_of<64>([](size_t i) noexcept { return i; });
        const auto found =
            from_native<Vec<uint8_t, 64>>(_mm512_maskz_compress_epi8(bits, native(kAll.load<Vec<uint8_t, 64>>())));
        const auto put = [&]<int Part>() noexcept {
            const __m128i part = _mm512_maskz_extracti32x4_epi32(0xF, native(found), Part);
            store(list + count + 16 * Part, widen(from_native<Quad<uint8_t>>(part)) + base_);
        };
        const size_t number = count_bits(bits);
        put.template operator()<0>();
        if (number > 16) { // seldom, or always
            put.template operator()<1>();
            put.template operator()<2>();
            put.template operator()<3>();
        }
        base_ += all<Numbers>(64);
        return count + number;
    }

    /// Goes on over words without a bit set.
    VK_SIMD_INLINE void skip(size_t words) noexcept
    {
        base_ += all<Numbers>(static_cast<uint16_t>(64 * words));
    }

private:
    using Numbers = Vec<uint16_t, 16>;
    Numbers base_;
#else
    explicit VK_SIMD_INLINE Positions(uint32_t base) noexcept : base_(base) {}

    /// Writes eight at a time without looking, which costs less than a mispredicted branch for each.
    VK_SIMD_INLINE size_t append(uint64_t bits, uint16_t* list, size_t count) noexcept
    {
        const size_t number = count_bits(bits);
        // Volatile, or compilers first gather the eight in a vector register, which takes twice as long.
        volatile uint16_t* out = list + count;
        for (size_t done = 0; done < number; done += 8, out += 8) {
            for (size_t k = 0; k < 8; ++k) {
                out[k] = static_cast<uint16_t>(base_ + lowest_bit(bits)); // with none left, behind the list's end
                bits &= bits - 1;
            }
        }
        base_ += 64;
        return count + number;
    }

    /// Goes on over words without a bit set.
    VK_SIMD_INLINE void skip(size_t words) noexcept
    {
        base_ += static_cast<uint32_t>(64 * words);
    }

private:
    uint32_t base_;
#endif
};

/// Words moved up by one; the first is the last one of those before.
template <size_t N> VK_SIMD_INLINE Vec<uint64_t, N> move_up(Vec<uint64_t, N> before, Vec<uint64_t, N> words) noexcept
{
#if VK_SIMD_X86 == 3
    if constexpr (N == 8)
        return from_native<Vec<uint64_t, N>>(_mm512_alignr_epi64(native(words), native(before), 7));
#endif
    if constexpr (N == 2)
        return {__builtin_shufflevector(before.raw, words.raw, 1, 2)};
    else if constexpr (N == 4)
        return {__builtin_shufflevector(before.raw, words.raw, 3, 4, 5, 6)};
}

// ---- bytes ----

namespace plain {

/// The fields of 1, 2 or 4 bits of each byte, the last one first.
template <int Bits, size_t N> VK_SIMD_INLINE Vec<uint8_t, N> reverse_fields(Vec<uint8_t, N> v) noexcept
{
    const auto exchange = [](Vec<uint8_t, N> bytes, int apart, uint8_t low) noexcept {
        const auto mask = all<Vec<uint8_t, N>>(low);
        return (bytes >> apart & mask) | (bytes & mask) << apart;
    };
    if constexpr (Bits == 1)
        v = exchange(v, 1, 0x55);
    if constexpr (Bits <= 2)
        v = exchange(v, 2, 0x33);
    return exchange(v, 4, 0x0F);
}

} // namespace plain

#if VK_SIMD_X86 >= 2
/// The same of the lower four bits, to four bits.
template <int Bits> constexpr size_t half_reversed(size_t half) noexcept
{
    size_t result = 0;
    for (size_t at = 0; at < 4; at += Bits)
        result |= (half >> at & ((1u << Bits) - 1)) << (4 - Bits - at);
    return result;
}
template <int Bits, size_t N> VK_SIMD_INLINE Vec<uint8_t, N> reverse_fields(Vec<uint8_t, N> v) noexcept
{
    using Bytes = Vec<uint8_t, N>;
    static constexpr auto kToHigh = order_of<16>([](size_t i) noexcept { return half_reversed<Bits>(i) << 4; });
    static constexpr auto kToLow = order_of<16>(half_reversed<Bits>);
    const Bytes half = all<Bytes>(0x0F);
    const Bytes upper = as<uint8_t>(as<uint16_t>(v) >> 4);
    return shuffle(in_blocks<Bytes>(kToHigh), v & half) | shuffle(in_blocks<Bytes>(kToLow), upper & half);
}
#elif VK_SIMD_NEON
template <int Bits, size_t N> VK_SIMD_INLINE Vec<uint8_t, N> reverse_fields(Vec<uint8_t, N> v) noexcept
{
    if constexpr (Bits == 1)
        return from_native<Vec<uint8_t, N>>(vrbitq_u8(native(v)));
    else
        return plain::reverse_fields<Bits>(v);
}
#else
using plain::reverse_fields;
#endif

// ---- pixels of one bit, the first in a byte's highest ----

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
