// Boolean functions of packed pixels, at any bit on either side. A row is a stream of bits: most significant bit first
// below 8 bits per pixel, least significant first at 12, whose two pixels to three bytes are that; whole bytes are
// both.
//
// Bits outside the run stay, and no byte is read that holds none of its source bits.
#pragma once

#include "simd/Level.h"

#include <cstddef>
#include <cstdint>

namespace vk::combine {

/// The answers of a Boolean function of a source bit s and a destination bit d: bit 2 s + d of `answers`. Kept as
/// ((s & p) ^ q) ^ (d & ((s & r) ^ t)), so that one loop does for all of them.
struct Logic {
    uint64_t p;
    uint64_t q;
    uint64_t r;
    uint64_t t;

    explicit constexpr Logic(uint32_t answers) noexcept
        : p(all((answers ^ answers >> 2) & 1)), q(all(answers & 1)),
          r(all((answers ^ answers >> 1 ^ answers >> 2 ^ answers >> 3) & 1)), t(all((answers ^ answers >> 1) & 1))
    {}
    constexpr uint64_t operator()(uint64_t source, uint64_t destination) const noexcept
    {
        return ((source & p) ^ q) ^ (destination & ((source & r) ^ t));
    }
    constexpr bool is_copy() const noexcept { return p && !q && !r && !t; }

private:
    static constexpr uint64_t all(uint32_t bit) noexcept { return bit ? ~uint64_t{0} : 0; }
};

constexpr uint32_t kCopyAnswers = 0xC;

/// Which bit of a byte comes first.
enum class BitOrder : uint8_t { high_first, low_first };

constexpr BitOrder bit_order(int32_t bits_per_pixel) noexcept
{
    return bits_per_pixel == 12 ? BitOrder::low_first : BitOrder::high_first;
}

/// Changes `count` bits from bit `to_bit` of one row on by those from bit `from_bit` of another, which does not overlap
/// it.
void combine_bits(uint8_t* to, uint64_t to_bit, const uint8_t* from, uint64_t from_bit, uint64_t count,
                  const Logic& logic, BitOrder order) noexcept;

inline void copy_bits(uint8_t* to, uint64_t to_bit, const uint8_t* from, uint64_t from_bit, uint64_t count,
                      BitOrder order) noexcept
{
    combine_bits(to, to_bit, from, from_bit, count, Logic(kCopyAnswers), order);
}

/// Between rows whose first bit is the highest and those where it is the lowest.
constexpr uint64_t reverse_bits_in_bytes(uint64_t word) noexcept
{
    word = (word >> 4 & 0x0F0F0F0F0F0F0F0Fu) | (word & 0x0F0F0F0F0F0F0F0Fu) << 4;
    word = (word >> 2 & 0x3333333333333333u) | (word & 0x3333333333333333u) << 2;
    return (word >> 1 & 0x5555555555555555u) | (word & 0x5555555555555555u) << 1;
}

/// Copies bytes past the caches; for much at a time. stream_fence comes behind the last.
void stream_bytes(uint8_t* to, const uint8_t* from, size_t bytes) noexcept;
/// The same for whole cache lines, to the first byte of one.
void stream_lines(uint8_t* to, const uint8_t* from, size_t bytes) noexcept;
void stream_fence() noexcept;

/// Loops over vectors.
struct BitLoops {
    /// Whole bytes, the source `shift` (0 to 7) bits further on; of the byte behind the last the source bits that are
    /// wanted are there. Returns how many bytes it did: all; without masks none of fewer than a vector has.
    size_t (*logic_bytes)(uint8_t* to, const uint8_t* from, size_t bytes, uint32_t shift, const Logic& logic,
                          BitOrder order) noexcept;
    void (*stream_lines)(uint8_t* to, const uint8_t* from, size_t bytes) noexcept;
};
VK_SIMD_TABLE(BitLoops, bit_loops);

} // namespace vk::combine
