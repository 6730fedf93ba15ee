// Pixels of three bytes: taken apart and put together, past the caches where it pays.
//
// What these operations read or write too far is in the constants; kStreams24 says whether those that store pixels of
// three bytes can go past the caches. `Swap` exchanges the first and last byte of each pixel on the way.
//
//     load_24, store_24          to and from pixels of four bytes
//     exchange_24                from memory to memory, exchanging
//     pairs_24                   neighbouring bytes as words
//
// simd/Channels.h has channels, a vector of bytes each, simd/Thirds.h the values of pixels repeated for their bytes.
#pragma once

#include "simd/InOrder.h"

namespace vk::simd::inline VK_SIMD_SET {

inline constexpr bool kStreams24 = kPermutesBytes;
/// Bytes behind the pixels that load_24 reads, pairs_24 reads, and store_24 and exchange_24 write.
inline constexpr size_t kLoadSlack24 = kPermutesBytes ? kWidth / 4 : 4;
inline constexpr size_t kPairSlack24 = kPermutesBytes ? 0 : 4;
inline constexpr size_t kStoreSlack24 = kPermutesBytes ? 0 : kWidth == 32 ? 8 : 4;

constexpr size_t in_pixel(size_t channel, bool swap) noexcept
{
    return swap ? 2 - channel : channel;
}

/// Sixteen bytes for each block, the blocks' `Stride` bytes apart.
template <size_t Stride> VK_SIMD_INLINE Wide<uint8_t> load_blocks(const uint8_t* from) noexcept
{
    return blocks_of<Wide<uint8_t>>(
        [from](size_t block) noexcept { return load<Quad<uint8_t>>(from + Stride * block); });
}

/// Pixels with a clear fourth byte: kWidth / 4 of them.
template <bool Swap> VK_SIMD_INLINE Wide<uint32_t> load_24(const uint8_t* from) noexcept
{
    using Bytes = Wide<uint8_t>;
    if constexpr (kPermutesBytes) {
        static constexpr auto kOrder =
            order_of<kWidth>([](size_t i) { return i % 4 == 3 ? 0 : i / 4 * 3 + in_pixel(i % 4, Swap); });
        const auto order = kOrder.template load<Bytes>();
#if VK_SIMD_X86 == 3
        return from_native<Wide<uint32_t>>(
            _mm512_maskz_permutexvar_epi8(0x7777777777777777u, native(order), native(load<Bytes>(from))));
#else
        return as<uint32_t>(permute(load<Bytes>(from), order)) & all<Wide<uint32_t>>(0xFFFFFF);
#endif
    } else {
        static constexpr auto kOrder =
            order_of<16>([](size_t i) { return i % 4 == 3 ? kNone : i / 4 * 3 + in_pixel(i % 4, Swap); });
        return as<uint32_t>(shuffle(load_blocks<12>(from), in_blocks<Bytes>(kOrder)));
    }
}

/// Stores the twelve lowest bytes of each block, and zeros or anything behind them.
VK_SIMD_INLINE void store_twelves(uint8_t* to, Wide<uint8_t> v) noexcept
{
    if constexpr (kWideBlocks == 1)
        store(to, v);
    else
        store(to, arrange<[](size_t i) {
                  constexpr size_t kKept = 3 * kWideBlocks;
                  return i < kKept ? i / 3 * 4 + i % 3 : (i - kKept) * 4 + 3;
              }>(as<uint32_t>(v)));
}

/// Four vectors of pixels of four bytes, of which the last is dropped: kWidth pixels.
template <bool Swap, bool Stream> VK_SIMD_INLINE void store_24(uint8_t* to, const Wide<uint32_t> (&four)[4]) noexcept
{
    using Bytes = Wide<uint8_t>;
    if constexpr (kPermutesBytes) {
        static constexpr auto kOrder =
            order_of<3 * kWidth>([](size_t i) { return i / 3 * 4 + in_pixel(i % 3, Swap) - i / kWidth * kWidth; });
        for (size_t k = 0; k < 3; ++k)
            put<Stream>(to + kWidth * k,
                        permute(as<uint8_t>(four[k]), as<uint8_t>(four[k + 1]), load<Bytes>(kOrder.at + kWidth * k)));
    } else {
        static constexpr auto kOrder =
            order_of<16>([](size_t i) { return i < 12 ? i / 3 * 4 + in_pixel(i % 3, Swap) : kNone; });
        for (size_t i = 0; i < 4; ++i)
            store_twelves(to + kWidth / 4 * 3 * i, shuffle(as<uint8_t>(four[i]), in_blocks<Bytes>(kOrder)));
    }
}

/// kWidth pixels with the first and last byte exchanged.
template <bool Stream> VK_SIMD_INLINE void exchange_24(uint8_t* to, const uint8_t* from) noexcept
{
    using Bytes = Wide<uint8_t>;
    if constexpr (kPermutesBytes) {
        // A byte comes from at most two places further on or back: from a vector that begins two bytes before its
        // place, or one two bytes behind it, which at the ends begin or end with the pixels.
        constexpr auto kFirst = [](size_t part) { return part == 0 ? 0 : kWidth * part - 2; };
        constexpr auto kSecond = [](size_t part) { return part == 2 ? 2 * kWidth : kWidth * part + 2; };
        static constexpr auto kOrder = order_of<3 * kWidth>([=](size_t i) {
            const size_t part = i / kWidth;
            const size_t at = i / 3 * 3 + in_pixel(i % 3, true);
            return at < kFirst(part) + kWidth ? at - kFirst(part) : kWidth + at - kSecond(part);
        });
        Bytes parts[3];
        for (size_t k = 0; k < 3; ++k)
            parts[k] = permute(load<Bytes>(from + kFirst(k)), load<Bytes>(from + kSecond(k)),
                               load<Bytes>(kOrder.at + kWidth * k));
        for (size_t k = 0; k < 3; ++k)
            put<Stream>(to + kWidth * k, parts[k]);
    } else {
        static constexpr auto kOrder =
            order_of<16>([](size_t i) { return i < 12 ? i / 3 * 3 + in_pixel(i % 3, true) : kNone; });
        constexpr size_t kStep = kWidth / 4 * 3;
        for (size_t i = 0; i < 4; ++i)
            store_twelves(to + kStep * i, shuffle(load_blocks<12>(from + kStep * i), in_blocks<Bytes>(kOrder)));
    }
}

/// The first two bytes of each of kWidth pixels, the first lower, and the last two; half of the pixels, then the
/// others.
struct Pairs24 {
    Wide<uint16_t> first[2], last[2];
};
template <bool Swap> VK_SIMD_INLINE Pairs24 pairs_24(const uint8_t* from) noexcept
{
    using Bytes = Wide<uint8_t>;
    if constexpr (kPermutesBytes) {
        // The first half lies in the parts 0 and 1, the other half in 1 and 2, half a vector further on.
        constexpr auto kAt = [](size_t i, size_t channel) {
            return i / 2 % (kWidth / 2) * 3 + i / kWidth * (kWidth / 2) + in_pixel(channel + i % 2, Swap);
        };
        static constexpr auto kFirst = order_of<2 * kWidth>([=](size_t i) { return kAt(i, 0); });
        static constexpr auto kLast = order_of<2 * kWidth>([=](size_t i) { return kAt(i, 1); });
        const Bytes part[] = {load<Bytes>(from), load<Bytes>(from + kWidth), load<Bytes>(from + 2 * kWidth)};
        const auto half = [&](const Order<2 * kWidth>& order, size_t i) noexcept {
            return as<uint16_t>(permute(part[i], part[i + 1], load<Bytes>(order.at + kWidth * i)));
        };
        return {{half(kFirst, 0), half(kFirst, 1)}, {half(kLast, 0), half(kLast, 1)}};
    } else {
        static constexpr auto kOrder =
            order_of<16>([](size_t i) { return i / 2 % 4 * 3 + in_pixel(i / 8 + i % 2, Swap); });
        const auto four = [&](size_t at) noexcept {
            return as<uint64_t>(shuffle(load_blocks<24>(from + at), in_blocks<Bytes>(kOrder)));
        };
        constexpr size_t kHalf = 3 * kWidth / 2;
        const auto a = four(0), b = four(12), c = four(kHalf), d = four(kHalf + 12);
        return {{as<uint16_t>(interleave_low(a, b)), as<uint16_t>(interleave_low(c, d))},
                {as<uint16_t>(interleave_high(a, b)), as<uint16_t>(interleave_high(c, d))}};
    }
}

} // namespace vk::simd::inline VK_SIMD_SET
