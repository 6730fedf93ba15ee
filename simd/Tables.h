// Tables of 256 entries, asked by vectors of bytes.
#pragma once

#include "simd/Bits.h"

namespace vk::simd::inline VK_SIMD_SET {

/// Whether a ByteTable is cheap; elsewhere a loop over memory is as good.
inline constexpr bool kLooksUpBytes = kPermutesBytes || VK_SIMD_NEON;

/// A byte for each byte.
class ByteTable {
public:
    using Bytes = Wide<uint8_t>;

#if VK_SIMD_X86 == 3
    explicit VK_SIMD_INLINE ByteTable(const uint8_t* entries) noexcept
    {
        for (size_t i = 0; i < 4; ++i)
            part_[i] = load<Bytes>(entries + kWidth * i);
    }
    VK_SIMD_INLINE Bytes at(Bytes index) const noexcept
    {
        const Mask<uint8_t, kWidth> is_upper{high_bits(index)};
        return select(is_upper, permute(part_[2], part_[3], index), permute(part_[0], part_[1], index));
    }

private:
    Bytes part_[4];
#elif VK_SIMD_NEON
    explicit VK_SIMD_INLINE ByteTable(const uint8_t* entries) noexcept
    {
        for (size_t i = 0; i < 4; ++i)
            quarter_[i] = vld1q_u8_x4(entries + 64 * i);
    }
    /// Indices that a quarter has not give zero, or leave what the quarters before gave.
    VK_SIMD_INLINE Bytes at(Bytes index) const noexcept
    {
        uint8x16_t found = vqtbl4q_u8(quarter_[0], native(index));
        for (size_t i = 1; i < 4; ++i)
            found = vqtbx4q_u8(found, quarter_[i], native(index - all<Bytes>(static_cast<uint8_t>(64 * i))));
        return from_native<Bytes>(found);
    }

private:
    uint8x16x4_t quarter_[4];
#else
    explicit VK_SIMD_INLINE ByteTable(const uint8_t* entries) noexcept : entries_(entries) {}
    VK_SIMD_INLINE Bytes at(Bytes index) const noexcept
    {
        Bytes result;
        for (size_t i = 0; i < kWidth; ++i)
            result.raw[i] = entries_[index.raw[i]];
        return result;
    }

private:
    const uint8_t* entries_; ///< is to stay
#endif
};

/// A truth for each byte, eight to a byte from the lowest bit on: 32 bytes.
class BitTable {
public:
    using Bytes = Wide<uint8_t>;

    explicit VK_SIMD_INLINE BitTable(const uint8_t* truths) noexcept
        : low_(repeat<Bytes>(load<Quad<uint8_t>>(truths))), high_(repeat<Bytes>(load<Quad<uint8_t>>(truths + 16)))
    {
#if VK_SIMD_X86 == 3
        low_ = both(load<Vec<uint8_t, 32>>(truths), load<Vec<uint8_t, 32>>(truths));
#endif
    }
    VK_SIMD_INLINE Mask<uint8_t, kWidth> at(Bytes index) const noexcept
    {
        const Bytes bit = shuffle(as<uint8_t>(all<Wide<uint64_t>>(0x8040201008040201)), index & all<Bytes>(7));
        const Bytes eighth = as<uint8_t>(as<uint16_t>(index) >> 3);
#if VK_SIMD_X86 == 3
        const Bytes eight = permute(low_, eighth & all<Bytes>(31));
#else
        const Bytes place = eighth & all<Bytes>(15);
        const auto is_upper = as<int8_t>(index) < Wide<int8_t>{};
        const Bytes eight =
            as<uint8_t>(select(is_upper, as<int8_t>(shuffle(high_, place)), as<int8_t>(shuffle(low_, place))));
#endif
        return has_bit(eight, bit);
    }

private:
    Bytes low_, high_;
};

} // namespace vk::simd::inline VK_SIMD_SET
