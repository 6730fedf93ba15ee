// Pixels of three bytes and their channels, a vector of bytes each.
#pragma once

#include "simd/Arrange.h"

namespace vk::simd::inline VK_SIMD_SET {

/// How a vector has the values of as many pixels: one after the other, or in each block even pixels and then odd ones,
/// as packing them leaves it.
enum class Values : uint8_t { in_order, even_odd };

template <Values Lie> constexpr size_t place_of_value(size_t pixel) noexcept
{
    return Lie == Values::in_order ? pixel : pixel / 16 * 16 + pixel % 16 / 2 + pixel % 2 * 8;
}

/// Three vectors of as many pixels of three bytes.
struct Thirds {
    Wide<uint8_t> of[3];
};

#if VK_SIMD_X86 == 3
/// For each byte of a third, the place of its pixel's values; and which bytes are a channel's.
template <Values Lie, size_t Part>
inline constexpr auto kPlaces = order_of<kWidth>([](size_t i) { return place_of_value<Lie>((Part * kWidth + i) / 3); });

template <size_t Part> consteval uint64_t bytes_of_channel(size_t channel) noexcept
{
    uint64_t mask = 0;
    for (size_t i = 0; i < kWidth; ++i)
        mask |= (Part * kWidth + i) % 3 == channel ? uint64_t{1} << i : 0;
    return mask;
}

template <Values Lie, size_t Part>
VK_SIMD_INLINE Wide<uint8_t> third_of(Wide<uint8_t> b, Wide<uint8_t> g, Wide<uint8_t> r) noexcept
{
    const __m512i places = native(kPlaces<Lie, Part>.template load<Wide<uint8_t>>());
    const __m512i one = _mm512_maskz_permutexvar_epi8(~__mmask64{0}, places, native(b));
    const __m512i two = _mm512_mask_permutexvar_epi8(one, bytes_of_channel<Part>(1), places, native(g));
    return from_native<Wide<uint8_t>>(_mm512_mask_permutexvar_epi8(two, bytes_of_channel<Part>(2), places, native(r)));
}

template <Values Lie> VK_SIMD_INLINE Thirds mix_channels(Wide<uint8_t> b, Wide<uint8_t> g, Wide<uint8_t> r) noexcept
{
    return {third_of<Lie, 0>(b, g, r), third_of<Lie, 1>(b, g, r), third_of<Lie, 2>(b, g, r)};
}

/// A channel of as many pixels as there are bytes in a vector.
template <size_t Channel> VK_SIMD_INLINE Wide<uint8_t> channel_of(const Thirds& pixels) noexcept
{
    static constexpr auto kOrder = order_of<kWidth>([](size_t i) { return (3 * i + Channel) % (2 * kWidth); });
    constexpr uint64_t kLast = ~uint64_t{0} << ((2 * kWidth - Channel + 2) / 3);
    const auto order = kOrder.template load<Wide<uint8_t>>();
    const auto two = permute(pixels.of[0], pixels.of[1], order);
    return from_native<Wide<uint8_t>>(
        _mm512_mask_permutexvar_epi8(native(two), kLast, native(order), native(pixels.of[2])));
}

VK_SIMD_INLINE Thirds split_channels(const uint8_t* bgr) noexcept
{
    const Thirds pixels = {load<Wide<uint8_t>>(bgr), load<Wide<uint8_t>>(bgr + kWidth),
                           load<Wide<uint8_t>>(bgr + 2 * kWidth)};
    return {channel_of<0>(pixels), channel_of<1>(pixels), channel_of<2>(pixels)};
}

#else

/// The part `Part` of the three blocks of 16 pixels, in every block.
template <Values Lie, size_t Part>
VK_SIMD_INLINE Wide<uint8_t> part_of(Wide<uint8_t> b, Wide<uint8_t> g, Wide<uint8_t> r) noexcept
{
    using Bytes = Wide<uint8_t>;
    const auto from = []<size_t Channel>(Bytes values) noexcept {
        static constexpr auto kOrder = order_of<16>([](size_t i) {
            const size_t at = 16 * Part + i;
            return at % 3 == Channel ? place_of_value<Lie>(at / 3) : size_t{kNone};
        });
        return shuffle(values, in_blocks<Bytes>(kOrder));
    };
    return from.template operator()<0>(b) | from.template operator()<1>(g) | from.template operator()<2>(r);
}

template <Values Lie> VK_SIMD_INLINE Thirds mix_channels(Wide<uint8_t> b, Wide<uint8_t> g, Wide<uint8_t> r) noexcept
{
#if VK_SIMD_NEON
    static constexpr auto kOrder = order_of<3 * 16>([](size_t i) { return i % 3 * 16 + place_of_value<Lie>(i / 3); });
    const uint8x16x3_t channels = {{native(b), native(g), native(r)}};
    const auto third = [&](size_t part) noexcept {
        return from_native<Wide<uint8_t>>(vqtbl3q_u8(channels, vld1q_u8(kOrder.at + 16 * part)));
    };
    return {third(0), third(1), third(2)};
#else
    const auto first = part_of<Lie, 0>(b, g, r), second = part_of<Lie, 1>(b, g, r), third = part_of<Lie, 2>(b, g, r);
    if constexpr (kWidth == 16)
        return {first, second, third};
    else
        return {
            every_other_block<0>(first, second),
            as<uint8_t>(arrange<[](size_t i) { return i < 2 ? i : 4 + i; }>(as<uint64_t>(third), as<uint64_t>(first))),
            every_other_block<1>(second, third)};
#endif
}

VK_SIMD_INLINE Thirds split_channels(const uint8_t* bgr) noexcept
{
    using Bytes = Wide<uint8_t>;
#if VK_SIMD_NEON
    const uint8x16x3_t channels = vld3q_u8(bgr);
    return {from_native<Bytes>(channels.val[0]), from_native<Bytes>(channels.val[1]),
            from_native<Bytes>(channels.val[2])};
#else
    const auto part = [bgr](size_t i) noexcept {
        return blocks_of<Bytes>([=](size_t block) noexcept { return load<Quad<uint8_t>>(bgr + 48 * block + 16 * i); });
    };
    const Bytes parts[] = {part(0), part(1), part(2)};
    const auto channel = [&]<size_t Channel>() noexcept {
        const auto from = [&]<size_t Part>() noexcept {
            static constexpr auto kOrder = order_of<16>(
                [](size_t i) { return (3 * i + Channel) / 16 == Part ? (3 * i + Channel) % 16 : size_t{kNone}; });
            return shuffle(parts[Part], in_blocks<Bytes>(kOrder));
        };
        return from.template operator()<0>() | from.template operator()<1>() | from.template operator()<2>();
    };
    return {channel.template operator()<0>(), channel.template operator()<1>(), channel.template operator()<2>()};
#endif
}

#endif

/// Three vectors by turns: kWidth pixels, not a byte more.
template <bool Stream>
VK_SIMD_INLINE void store_channels(uint8_t* to, Wide<uint8_t> a, Wide<uint8_t> b, Wide<uint8_t> c) noexcept
{
#if VK_SIMD_NEON
    vst3q_u8(to, uint8x16x3_t{{native(a), native(b), native(c)}});
#else
    const Thirds pixels = mix_channels<Values::in_order>(a, b, c);
    for (size_t k = 0; k < 3; ++k)
        put<Stream>(to + kWidth * k, pixels.of[k]);
#endif
}

/// Pixels in lanes of 32 bits: blue and green as words, and red.
struct ColorWords {
    Wide<int16_t> bg, r;
};

/// As many pixels as lanes. Beyond them up to 16 bytes are read, but for the last ones of a row, before them.
template <bool Last> VK_SIMD_INLINE ColorWords load_colors(const uint8_t* bgr) noexcept
{
    using Bytes = Wide<uint8_t>;
#if VK_SIMD_X86 == 3
    constexpr size_t kBefore = Last ? 16 : 0;
    static constexpr auto kColors = order_of<kWidth>([](size_t i) { return kBefore + i / 4 * 3 + i % 4 / 2; });
    static constexpr auto kReds = order_of<kWidth>([](size_t i) { return kBefore + i / 4 * 3 + 2; });
    const auto bytes = native(load<Bytes>(bgr - kBefore));
    const auto take = [&](const Order<kWidth>& order, uint64_t kept) noexcept {
        return from_native<Wide<int16_t>>(_mm512_maskz_permutexvar_epi8(kept, native(order.load<Bytes>()), bytes));
    };
    return {take(kColors, 0x5555555555555555), take(kReds, 0x1111111111111111)};
#else
    const auto before = [](size_t block) { return Last && block == kWideBlocks - 1 ? size_t{4} : size_t{0}; };
    static constexpr auto kColors = order_of<kWidth>([](size_t i) {
        return i % 2 != 0 ? size_t{kNone} : (Last && i / 16 == kWideBlocks - 1 ? 4 : 0) + i % 16 / 4 * 3 + i % 4 / 2;
    });
    static constexpr auto kReds = order_of<kWidth>([](size_t i) {
        return i % 4 != 0 ? size_t{kNone} : (Last && i / 16 == kWideBlocks - 1 ? 4 : 0) + i % 16 / 4 * 3 + 2;
    });
    const auto bytes =
        blocks_of<Bytes>([&](size_t block) noexcept { return load<Quad<uint8_t>>(bgr + 12 * block - before(block)); });
    return {as<int16_t>(shuffle(bytes, kColors.template load<Bytes>())),
            as<int16_t>(shuffle(bytes, kReds.template load<Bytes>()))};
#endif
}

} // namespace vk::simd::inline VK_SIMD_SET
