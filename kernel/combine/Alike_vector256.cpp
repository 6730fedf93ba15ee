// Pixels of whole bytes compared byte by byte; the answers for the bytes of a pixel are gathered into one bit.
#include "kernel/combine/Alike.h"
#include "simd/Bits.h"
#include "simd/Simd.h"

namespace vk::combine::VK_SIMD_SET {

namespace {

using namespace simd;

using Bytes = Wide<uint8_t>;

/// A repeating pattern of limits, long enough to be loaded from any byte of a pixel on.
struct Limits {
    alignas(kWidth) uint8_t low[2 * kWidth];
    alignas(kWidth) uint8_t high[2 * kWidth];
};

/// The answers for a vector's bytes, `offset` bytes into the pattern.
VK_SIMD_INLINE uint64_t match_vector(const uint8_t* bytes, const Limits& limits, size_t offset) noexcept
{
    const auto value = load<Bytes>(bytes);
    return bits(value == min(max(value, load<Bytes>(limits.low + offset)), load<Bytes>(limits.high + offset)));
}

/// One bit for every `Size` of 64 x Size answers.
template <size_t Size> VK_SIMD_INLINE uint64_t match_pixels(const uint8_t* pixels, const Limits& limits) noexcept
{
    uint64_t answers[Size + 1] = {};
    for (size_t i = 0; i < 64 * Size; i += kWidth)
        answers[i / 64] |= match_vector(pixels + i, limits, i % Size) << i % 64;
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

template <size_t Size>
int32_t match_all(const uint8_t* pixels, int32_t count, const Limits& limits, uint64_t* words) noexcept
{
    int32_t done = 0;
    for (; (done + 1) * 64 <= count; ++done, pixels += 64 * Size)
        words[done] = match_pixels<Size>(pixels, limits);
    return done;
}

int32_t match_bytes(const uint8_t* pixels, int32_t count, int32_t bytes, const uint8_t* low, const uint8_t* high,
                    uint64_t* words) noexcept
{
    Limits limits;
    const auto period = static_cast<size_t>(bytes);
    for (size_t i = 0; i < sizeof limits.low; ++i) {
        limits.low[i] = low[i % period];
        limits.high[i] = high[i % period];
    }
    if (bytes == 1)
        return match_all<1>(pixels, count, limits, words);
    return bytes == 3 ? match_all<3>(pixels, count, limits, words) : match_all<4>(pixels, count, limits, words);
}

} // namespace

const AlikeLoops alike_loops = {match_bytes};

} // namespace vk::combine::VK_SIMD_SET
