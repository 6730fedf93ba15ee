// Sums of products: of four rows' bytes by a weight each, and of numbers of 32 bits in four lanes of 64, which reals
// divide. On 64-bit ARM the processor adds products to sums in one step, and four lanes are two registers, which
// compilers would keep in memory as one vector.
#pragma once

#include "simd/Fold.h"

namespace vk::simd::inline VK_SIMD_SET {

/// Two weights as the words of every double word.
VK_SIMD_INLINE Wide<int16_t> pair_of(int32_t low, int32_t high) noexcept
{
    return as<int16_t>(all<Wide<uint32_t>>((static_cast<uint32_t>(low) & 0xFFFFu) | static_cast<uint32_t>(high) << 16));
}

/// Four weights below 32768, for as many words as a vector has.
class FourWeights {
public:
    using Words = Wide<int16_t>;
    using Numbers = Wide<int32_t>;

    /// The sums of the first half of the lanes, and of the others.
    struct Halves {
        Numbers first, second;
    };

#if VK_SIMD_NEON
    explicit VK_SIMD_INLINE FourWeights(const int32_t* weights) noexcept
        : weights_(vmovn_u32(vreinterpretq_u32_s32(vld1q_s32(weights))))
    {}
    VK_SIMD_INLINE Halves of(Words r0, Words r1, Words r2, Words r3) const noexcept
    {
        const uint16x8_t row[] = {native(as<uint16_t>(r0)), native(as<uint16_t>(r1)), native(as<uint16_t>(r2)),
                                  native(as<uint16_t>(r3))};
        uint32x4_t first = vmull_lane_u16(vget_low_u16(row[0]), weights_, 0);
        uint32x4_t second = vmull_high_lane_u16(row[0], weights_, 0);
        first = vmlal_lane_u16(first, vget_low_u16(row[1]), weights_, 1);
        second = vmlal_high_lane_u16(second, row[1], weights_, 1);
        first = vmlal_lane_u16(first, vget_low_u16(row[2]), weights_, 2);
        second = vmlal_high_lane_u16(second, row[2], weights_, 2);
        first = vmlal_lane_u16(first, vget_low_u16(row[3]), weights_, 3);
        second = vmlal_high_lane_u16(second, row[3], weights_, 3);
        return {from_native<Numbers>(first), from_native<Numbers>(second)};
    }

private:
    uint16x4_t weights_;
#else
    explicit VK_SIMD_INLINE FourWeights(const int32_t* weights) noexcept
        : pair0_(pair_of(weights[0], weights[1])), pair1_(pair_of(weights[2], weights[3]))
    {}
    VK_SIMD_INLINE Halves of(Words r0, Words r1, Words r2, Words r3) const noexcept
    {
        static_assert(kWideBlocks <= 2, "blocks are put in order two by two");
        const Numbers low = mul_pairs(interleave_low(r0, r1), pair0_) + mul_pairs(interleave_low(r2, r3), pair1_);
        const Numbers high = mul_pairs(interleave_high(r0, r1), pair0_) + mul_pairs(interleave_high(r2, r3), pair1_);
        return {every_other_block<0>(low, high), every_other_block<1>(low, high)};
    }

private:
    Words pair0_, pair1_;
#endif
};

/// Four lanes of 64 bits.
class FourSums {
public:
#if VK_SIMD_NEON
    explicit VK_SIMD_INLINE FourSums(uint64_t each) noexcept : low_(vdupq_n_u64(each)), high_(low_) {}

    /// Adds numbers by one weight, or by a weight each.
    VK_SIMD_INLINE void add(Quad<uint32_t> numbers, uint32_t weight) noexcept
    {
        low_ = vmlal_n_u32(low_, vget_low_u32(native(numbers)), weight);
        high_ = vmlal_high_n_u32(high_, native(numbers), weight);
    }
    VK_SIMD_INLINE void add(Quad<uint32_t> numbers, Quad<uint32_t> weights) noexcept
    {
        low_ = vmlal_u32(low_, vget_low_u32(native(numbers)), vget_low_u32(native(weights)));
        high_ = vmlal_high_u32(high_, native(numbers), native(weights));
    }
    VK_SIMD_INLINE void add(const FourSums& other) noexcept
    {
        low_ = vaddq_u64(low_, other.low_);
        high_ = vaddq_u64(high_, other.high_);
    }

    /// A lane for the sum of each one's lanes.
    static VK_SIMD_INLINE FourSums of_lanes(const FourSums (&of)[4]) noexcept
    {
        const auto both = [&](size_t i) noexcept { return vaddq_u64(of[i].low_, of[i].high_); };
        return FourSums(vpaddq_u64(both(0), both(1)), vpaddq_u64(both(2), both(3)));
    }

    /// Sums below 2^52 by a real: four bytes, cut off, the first one lowest.
    VK_SIMD_INLINE uint32_t bytes_by(double factor) const noexcept
    {
        const int64x2_t low = vcvtq_s64_f64(vmulq_n_f64(vcvtq_f64_u64(low_), factor));
        const int64x2_t high = vcvtq_s64_f64(vmulq_n_f64(vcvtq_f64_u64(high_), factor));
        const int32x4_t lanes = vuzp1q_s32(vreinterpretq_s32_s64(low), vreinterpretq_s32_s64(high));
        return __builtin_bit_cast(uint32_t, cut_4(from_native<Quad<uint32_t>>(lanes)));
    }

private:
    VK_SIMD_INLINE FourSums(uint64x2_t low, uint64x2_t high) noexcept : low_(low), high_(high) {}

    uint64x2_t low_, high_;
#else
    explicit VK_SIMD_INLINE FourSums(uint64_t each) noexcept : sums_(all<Sums>(each)) {}

    /// Adds numbers by one weight, or by a weight each.
    VK_SIMD_INLINE void add(Quad<uint32_t> numbers, uint32_t weight) noexcept
    {
        sums_ += mul_even(as<uint32_t>(widen(numbers)), all<Vec<uint32_t, 8>>(weight));
    }
    VK_SIMD_INLINE void add(Quad<uint32_t> numbers, Quad<uint32_t> weights) noexcept
    {
        sums_ += mul_even(as<uint32_t>(widen(numbers)), as<uint32_t>(widen(weights)));
    }
    VK_SIMD_INLINE void add(const FourSums& other) noexcept
    {
        sums_ += other.sums_;
    }

    /// A lane for the sum of each one's lanes.
    static VK_SIMD_INLINE FourSums of_lanes(const FourSums (&of)[4]) noexcept
    {
        return FourSums(simd::folded<uint64_t>({of[0].sums_, of[1].sums_, of[2].sums_, of[3].sums_}));
    }

    /// Sums below 2^52 by a real: four bytes, cut off, the first one lowest.
    VK_SIMD_INLINE uint32_t bytes_by(double factor) const noexcept
    {
        using Reals = Vec<double, 4>;
        static constexpr auto kLowest = order_of<16>([](size_t i) { return i < 4 ? 4 * i : size_t{kNone}; });
        const auto magic = all<Reals>(4503599627370496.0); // 2^52: the sum is its mantissa
        const Reals values = as<double>(sums_ | as<uint64_t>(magic)) - magic;
        const auto lanes = as<uint8_t>(cut_off(values * all<Reals>(factor)));
        return as<uint32_t>(shuffle(lanes, kLowest.load<Quad<uint8_t>>())).raw[0];
    }

private:
    using Sums = Vec<uint64_t, 4>;

    explicit VK_SIMD_INLINE FourSums(Sums sums) noexcept : sums_(sums) {}

    Sums sums_;
#endif
};

} // namespace vk::simd::inline VK_SIMD_SET
