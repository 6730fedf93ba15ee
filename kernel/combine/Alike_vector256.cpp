// Pixels compared channel by channel; the answers for the channels of a pixel are gathered into one bit.
#include "kernel/combine/Alike.h"
#include "simd/Bits.h"
#include "simd/Simd.h"

namespace vk::combine::VK_SIMD_SET {

namespace {

using namespace simd;

using Bytes = Wide<uint8_t>;
using Words = Wide<uint16_t>;

/// A repeating pattern of limits, long enough to be loaded from any channel of a pixel on.
template <class T> struct Limits {
    alignas(kWidth) T low[2 * kWidth];
    alignas(kWidth) T high[2 * kWidth];

    Limits(const uint16_t* least, const uint16_t* most, size_t channels) noexcept
    {
        for (size_t i = 0; i < 2 * kWidth; ++i) {
            low[i] = static_cast<T>(least[i % channels]);
            high[i] = static_cast<T>(most[i % channels]);
        }
    }
};

/// The answers for kWidth channels, `offset` of them into the pattern.
VK_SIMD_INLINE uint64_t match_vector(const uint8_t* channels, const Limits<uint8_t>& limits, size_t offset) noexcept
{
    const auto value = load<Bytes>(channels);
    return bits(value == min(max(value, load<Bytes>(limits.low + offset)), load<Bytes>(limits.high + offset)));
}

VK_SIMD_INLINE uint64_t match_vector(const uint8_t* channels, const Limits<uint16_t>& limits, size_t offset) noexcept
{
    const auto half = [&](size_t at) noexcept {
        const auto value = load<Words>(channels + 2 * at);
        const auto inside =
            min(max(value, load<Words>(limits.low + offset + at)), load<Words>(limits.high + offset + at));
        return as<int16_t>(keep(value == inside, all<Words>(0xFFFF)));
    };
    return high_bits(unpacked(pack(half(0), half(kWidth / 2))));
}

/// One bit for every `Size` of 64 x Size answers.
template <size_t Size, class T>
VK_SIMD_INLINE uint64_t match_pixels(const uint8_t* pixels, const Limits<T>& limits) noexcept
{
    uint64_t answers[Size + 1] = {};
    for (size_t i = 0; i < 64 * Size; i += kWidth)
        answers[i / 64] |= match_vector(pixels + sizeof(T) * i, limits, i % Size) << i % 64;
    if constexpr (Size == 1) {
        return answers[0];
    } else {
        uint64_t word = 0;
        for (size_t i = 0, bit = 0; i < Size; ++i) {
            // Pixels that begin in this word: the first at bit `start`, every Size bits one.
            const size_t start = (Size - 64 * i % Size) % Size;
            uint64_t whole = answers[i];
            for (size_t k = 1; k < Size; ++k)
                whole &= answers[i] >> k | answers[i + 1] << (64 - k);
            word |= gathered_bits<Size>(whole, start) << bit;
            bit += (64 - start + Size - 1) / Size;
        }
        return word;
    }
}

template <size_t Size, class T>
int32_t match_all(const uint8_t* pixels, int32_t count, const Limits<T>& limits, uint64_t* words) noexcept
{
    int32_t done = 0;
    for (; (done + 1) * 64 <= count; ++done, pixels += 64 * Size * sizeof(T))
        words[done] = match_pixels<Size>(pixels, limits);
    return done;
}

template <class T>
int32_t match(const uint8_t* pixels, int32_t count, size_t channels, const uint16_t* low, const uint16_t* high,
              uint64_t* words) noexcept
{
    const Limits<T> limits(low, high, channels);
    if (channels == 1)
        return match_all<1>(pixels, count, limits, words);
    return channels == 3 ? match_all<3>(pixels, count, limits, words) : match_all<4>(pixels, count, limits, words);
}

} // namespace

const AlikeLoops alike_loops = {match<uint8_t>, match<uint16_t>};

} // namespace vk::combine::VK_SIMD_SET
