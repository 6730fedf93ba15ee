// The plain forms. Eight pixels of less than a byte are as many bytes as a pixel has bits, so they go through one word.
#include "kernel/format/Spread.h"

#include "kernel/format/PackedBits.h"

namespace vk {

namespace {

template <int32_t kBits> void spread_group(const uint8_t* from, size_t bytes, uint8_t* to, size_t count) noexcept
{
    uint64_t stream = 0;
    for (size_t i = 0; i < kBits; ++i)
        stream = stream << 8 | (i < bytes ? from[i] : 0u);
    for (size_t i = 0; i < count; ++i)
        to[i] = static_cast<uint8_t>(stream >> (kBits * (7 - i)) & ((1u << kBits) - 1u));
}

template <int32_t kBits> void gather_group(const uint8_t* from, size_t count, uint8_t* to, size_t bytes) noexcept
{
    uint64_t stream = 0;
    for (size_t i = 0; i < 8; ++i)
        stream = stream << kBits | (i < count ? from[i] & ((1u << kBits) - 1u) : 0u);
    for (size_t i = 0; i < bytes; ++i)
        to[i] = static_cast<uint8_t>(stream >> (8 * (kBits - 1 - i)));
}

template <int32_t kBits> void spread_bytes(const uint8_t* from, uint8_t* to, size_t count) noexcept
{
    for (; count >= 8; count -= 8, from += kBits, to += 8)
        spread_group<kBits>(from, kBits, to, 8);
    if (count != 0)
        spread_group<kBits>(from, (count * kBits + 7) / 8, to, count);
}

template <int32_t kBits> void gather_bytes(const uint8_t* from, uint8_t* to, size_t count) noexcept
{
    for (; count >= 8; count -= 8, from += 8, to += kBits)
        gather_group<kBits>(from, 8, to, kBits);
    if (count != 0)
        gather_group<kBits>(from, count, to, (count * kBits + 7) / 8);
}

/// Calls `act` with a depth below 8 bits as a constant.
template <class Act> void with_bits(int32_t bits, Act act) noexcept
{
    with_depth(bits, [&]<int32_t kBits>() noexcept {
        if constexpr (packing_of(kBits) == Packing::high_first)
            act.template operator()<kBits>();
    });
}

} // namespace

SpreadWay::SpreadWay() noexcept : words(nullptr), vectors(spread_loops_sets.best())
{
    if (simd::level() == simd::Level::neon || simd::moves_bits_fast())
        words = vectors;
}

void spread_pixels(const uint8_t* from, void* to, size_t count, int32_t bits, const SpreadWay& way) noexcept
{
    auto* const bytes = static_cast<uint8_t*>(to);
    if (bits == 12) {
        const size_t done = way.vectors ? way.vectors->spread_12(from, bytes, count) : 0;
        spread_low_first<12>(from + done / 2 * 3, static_cast<uint16_t*>(to) + done, count - done);
    } else if (way.words) {
        way.words->spread(from, bytes, count, bits);
    } else {
        with_bits(bits, [&]<int32_t kBits>() noexcept { spread_bytes<kBits>(from, bytes, count); });
    }
}

void gather_pixels(const void* from, uint8_t* to, size_t count, int32_t bits, const SpreadWay& way) noexcept
{
    const auto* const bytes = static_cast<const uint8_t*>(from);
    if (bits == 12) {
        const size_t done = way.vectors ? way.vectors->gather_12(bytes, to, count) : 0;
        gather_low_first<12>(static_cast<const uint16_t*>(from) + done, to + done / 2 * 3, count - done);
    } else if (way.words) {
        way.words->gather(bytes, to, count, bits);
    } else {
        with_bits(bits, [&]<int32_t kBits>() noexcept { gather_bytes<kBits>(bytes, to, count); });
    }
}

} // namespace vk
