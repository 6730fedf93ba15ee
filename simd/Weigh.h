// One value for each pixel: its first three bytes by a weight each.
#pragma once

#include "simd/Pixels24.h"

namespace vk::simd::inline VK_SIMD_SET {

/// Weights of a pixel's bytes, up to 127; each sum stays below 2^15.
template <int First, int Second, int Third> struct Weights {
    /// kWidth / 4 pixels of four bytes.
    static VK_SIMD_INLINE Wide<int32_t> of_32(Wide<uint32_t> pixels) noexcept
    {
        const auto weights = all<Wide<uint32_t>>(Third << 16 | Second << 8 | First);
        return mul_pairs(mul_pairs(as<uint8_t>(pixels), as<int8_t>(weights)), all<Wide<int16_t>>(1));
    }

    /// As bytes in order, after `f` has made them of words.
    template <class F> static VK_SIMD_INLINE Wide<uint8_t> bytes(F f, const Wide<int32_t> (&sums)[4]) noexcept
    {
        return unpacked_4(pack_unsigned(f(pack(sums[0], sums[1])), f(pack(sums[2], sums[3]))));
    }

    /// The same of kWidth pixels of four bytes, or of three.
    template <class F> static VK_SIMD_INLINE Wide<uint8_t> load_32(const uint8_t* from, F f) noexcept
    {
#if VK_SIMD_NEON
        const uint8x16x4_t pixels = vld4q_u8(from);
        return of_channels(pixels.val[0], pixels.val[1], pixels.val[2], f);
#else
        const auto sums = [&](size_t i) noexcept { return of_32(load<Wide<uint32_t>>(from + kWidth * i)); };
        return bytes(f, {sums(0), sums(1), sums(2), sums(3)});
#endif
    }
    template <class F> static VK_SIMD_INLINE Wide<uint8_t> load_24(const uint8_t* from, F f) noexcept
    {
#if VK_SIMD_NEON
        const uint8x16x3_t pixels = vld3q_u8(from);
        return of_channels(pixels.val[0], pixels.val[1], pixels.val[2], f);
#else
        if constexpr (kPermutesBytes) {
            const Pairs24 pairs = pairs_24<false>(from);
            const auto half = [&](size_t i) noexcept {
                return f(mul_pairs(as<uint8_t>(pairs.first[i]), as<int8_t>(all<Wide<uint16_t>>(Second << 8 | First))) +
                         mul_pairs(as<uint8_t>(pairs.last[i]), as<int8_t>(all<Wide<uint16_t>>(Third << 8))));
            };
            return joined(half(0), half(1));
        } else {
            const auto sums = [&](size_t i) noexcept { return of_32(simd::load_24<false>(from + kWidth / 4 * 3 * i)); };
            return bytes(f, {sums(0), sums(1), sums(2), sums(3)});
        }
#endif
    }

#if VK_SIMD_NEON
    template <class F>
    static VK_SIMD_INLINE Wide<uint8_t> of_channels(uint8x16_t a, uint8x16_t b, uint8x16_t c, F f) noexcept
    {
        const auto half = [&](uint8x8_t x, uint8x8_t y, uint8x8_t z) noexcept {
            const uint16x8_t two = vmlal_u8(vmull_u8(x, vdup_n_u8(First)), y, vdup_n_u8(Second));
            return f(from_native<Wide<int16_t>>(vmlal_u8(two, z, vdup_n_u8(Third))));
        };
        return joined(half(vget_low_u8(a), vget_low_u8(b), vget_low_u8(c)),
                      half(vget_high_u8(a), vget_high_u8(b), vget_high_u8(c)));
    }
#endif
};

/// Bytes that load_24 of weights reads behind the pixels.
inline constexpr size_t kWeighSlack24 = kPermutesBytes ? kPairSlack24 : kLoadSlack24;

} // namespace vk::simd::inline VK_SIMD_SET
