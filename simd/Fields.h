// Words of a pixel each, blue lowest in five bits, green in five or six, red in five.
#pragma once

#include "simd/Pixels24.h"

namespace vk::simd::inline VK_SIMD_SET {

/// Words from pixels' upper bits, of which there are blue and green, and green and red, in a word each.
template <bool Green6> VK_SIMD_INLINE Wide<uint16_t> fields_of_pairs(Wide<uint16_t> first, Wide<uint16_t> last) noexcept
{
    using Words = Wide<uint16_t>;
    const Words blue = (first >> 3) & all<Words>(0x1F);
    if constexpr (Green6)
        return blue | ((first >> 5) & all<Words>(0x7E0)) | (last & all<Words>(0xF800));
    else
        return blue | ((first >> 6) & all<Words>(0x3E0)) | ((last >> 1) & all<Words>(0x7C00));
}

#if VK_SIMD_X86 == 3

/// What the words of 64 pixels need to become bytes, per byte of the result: the words that a group of eight bytes
/// looks at, where in the group a field begins when it is moved to the top of its byte, and where its top bits begin,
/// which fill the rest of the byte again.
struct FieldOrders {
    alignas(kWidth) uint16_t words[3][kWidth / 2];
    Order<3 * kWidth> at, again, kept, filled;
};

template <bool Green6, bool Swap> consteval FieldOrders field_orders() noexcept
{
    constexpr size_t kLow[] = {0, 5, Green6 ? 11 : 10};
    constexpr size_t kBits[] = {5, Green6 ? 6 : 5, 5};
    FieldOrders f{};
    for (size_t i = 0; i < 3 * kWidth; ++i) {
        const size_t first = (i - i % 8) / 3; // pixel that the group of eight bytes begins in
        const size_t low = kLow[in_pixel(i % 3, Swap)];
        const size_t bits = kBits[i % 3];
        f.at.at[i] = static_cast<uint8_t>((16 * (i / 3 - first) + low + bits - 8 + 64) % 64);
        f.again.at[i] = static_cast<uint8_t>((8 * (i % 8) + bits) % 64);
        f.kept.at[i] = static_cast<uint8_t>(0xFF << (8 - bits));
        f.filled.at[i] = static_cast<uint8_t>(0xFF >> bits);
    }
    for (size_t i = 0; i < 3 * kWidth / 2; ++i) {
        const size_t word = i / 4 * 8 / 3 + i % 4;
        f.words[i / (kWidth / 2)][i % (kWidth / 2)] = static_cast<uint16_t>(word < kWidth ? word : kWidth - 1);
    }
    return f;
}

/// Per byte eight bits of its group of eight bytes, from a bit on.
VK_SIMD_INLINE Wide<uint8_t> multishift(Wide<uint8_t> from, Wide<uint8_t> v) noexcept
{
    return from_native<Wide<uint8_t>>(_mm512_maskz_multishift_epi64_epi8(~__mmask64{0}, native(from), native(v)));
}

#elif !VK_SIMD_NEON

/// The part of a number that moves right by `Right`, or left when that is negative, and stays within a mask.
template <int Right> VK_SIMD_INLINE Wide<uint32_t> field(Wide<uint32_t> v, uint32_t mask) noexcept
{
    return (Right < 0 ? v << (Right < 0 ? -Right : 0) : v >> (Right < 0 ? 0 : Right)) & all<Wide<uint32_t>>(mask);
}

/// Blue, green and red bytes: the bits of a field, then its top bits again.
template <bool Green6> VK_SIMD_INLINE Wide<uint32_t> spread_fields(Wide<uint32_t> v) noexcept
{
    const auto blue = field<-3>(v, 0xF8) | field<2>(v, 0x07);
    if constexpr (Green6)
        return blue | field<-5>(v, 0xFC00) | field<1>(v, 0x300) | field<-8>(v, 0xF80000) | field<-3>(v, 0x70000);
    else
        return blue | field<-6>(v, 0xF800) | field<-1>(v, 0x700) | field<-9>(v, 0xF80000) | field<-4>(v, 0x70000);
}

#endif

/// kWidth pixels of three bytes from their words, blue first or with `Swap` red. What is written too far is
/// kStoreSlack24.
template <bool Green6, bool Swap, bool Stream>
VK_SIMD_INLINE void fields_to_24(uint8_t* to, const uint8_t* from) noexcept
{
#if VK_SIMD_X86 == 3
    using Bytes = Wide<uint8_t>;
    using Words = Wide<uint16_t>;
    static constexpr FieldOrders kOrders = field_orders<Green6, Swap>();
    const Words front = load<Words>(from);
    const Words back = load<Words>(from + kWidth);
    for (size_t k = 0; k < 3; ++k) {
        const auto part = [k](const Order<3 * kWidth>& order) noexcept { return load<Bytes>(order.at + kWidth * k); };
        const Bytes words = as<uint8_t>(permute(front, back, load<Words>(kOrders.words[k])));
        const Bytes top = multishift(part(kOrders.at), words) & part(kOrders.kept);
        put<Stream>(to + kWidth * k, top | (multishift(part(kOrders.again), top) & part(kOrders.filled)));
    }
#elif VK_SIMD_NEON
    const uint8x16x2_t bytes = vld2q_u8(from); // the lower and the upper ones of the words
    const uint8x16_t top = vdupq_n_u8(0xF8);
    const uint8x16_t blue = vshlq_n_u8(bytes.val[0], 3);
    const uint8x16_t red = vandq_u8(Green6 ? bytes.val[1] : vshlq_n_u8(bytes.val[1], 1), top);
    const uint8x16_t mixed = Green6 ? vsriq_n_u8(vshlq_n_u8(bytes.val[1], 5), bytes.val[0], 3)
                                    : vsriq_n_u8(vshlq_n_u8(bytes.val[1], 6), bytes.val[0], 2);
    const uint8x16_t green = vandq_u8(mixed, Green6 ? vdupq_n_u8(0xFC) : top);
    const uint8x16_t b = vsriq_n_u8(blue, blue, 5), r = vsriq_n_u8(red, red, 5);
    const uint8x16_t g = Green6 ? vsriq_n_u8(green, green, 6) : vsriq_n_u8(green, green, 5);
    vst3q_u8(to, uint8x16x3_t{{Swap ? r : b, g, Swap ? b : r}});
#else
    const auto pixels = [&](size_t i) noexcept {
        if constexpr (kWidth == 16) {
            const auto words = load_first<Quad<uint16_t>, 8>(from + 8 * i);
            return spread_fields<Green6>(as<uint32_t>(interleave_low(words, Quad<uint16_t>{})));
        } else {
            return spread_fields<Green6>(widen(load<Vec<uint16_t, kWidth / 4>>(from + kWidth / 2 * i)));
        }
    };
    store_24<Swap, Stream>(to, {pixels(0), pixels(1), pixels(2), pixels(3)});
#endif
}

} // namespace vk::simd::inline VK_SIMD_SET
