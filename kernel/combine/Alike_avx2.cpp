// Pixels of whole bytes compared byte by byte; the answers for the bytes of a pixel are gathered into one bit.
#include "kernel/combine/Alike.h"

#include <immintrin.h>

namespace vk::combine {

namespace {

constexpr size_t kVector = 32;

/// A repeating pattern of limits, long enough to be loaded from any vector of 64 pixels.
struct Limits {
    alignas(32) uint8_t low[4 * kVector];
    alignas(32) uint8_t high[4 * kVector];
};

/// The answers for 32 bytes, `offset` bytes into the pattern.
uint64_t match_vector(const uint8_t* bytes, const Limits& limits, size_t offset) noexcept
{
    const auto load = [](const uint8_t* from) noexcept {
        return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
    };
    const __m256i value = load(bytes);
    const __m256i bounded =
        _mm256_min_epu8(_mm256_max_epu8(value, load(limits.low + offset)), load(limits.high + offset));
    return static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(value, bounded)));
}

/// One bit for every `kBytes` of 64 x kBytes answers.
template <size_t kBytes> uint64_t match_pixels(const uint8_t* pixels, const Limits& limits) noexcept
{
    uint64_t answers[kBytes + 1] = {};
    for (size_t i = 0; i < 2 * kBytes; ++i)
        answers[i / 2] |= match_vector(pixels + kVector * i, limits, kVector * i % kBytes) << (i % 2 * kVector);
    if constexpr (kBytes == 1)
        return answers[0];
    uint64_t word = 0;
    for (size_t i = 0, bit = 0; i < kBytes; ++i) {
        // Pixels that begin in this word: the first at bit `start`, every kBytes bits one.
        const size_t start = (kBytes - 64 * i % kBytes) % kBytes;
        const uint64_t begins = (kBytes == 3 ? 0x9249249249249249u : 0x1111111111111111u) << start;
        uint64_t all = answers[i];
        for (size_t k = 1; k < kBytes; ++k)
            all &= answers[i] >> k | answers[i + 1] << (64 - k);
        word |= _pext_u64(all, begins) << bit;
        bit += static_cast<size_t>(__builtin_popcountll(begins));
    }
    return word;
}

template <size_t kBytes>
int32_t match_all(const uint8_t* pixels, int32_t count, const Limits& limits, uint64_t* words) noexcept
{
    int32_t done = 0;
    for (; (done + 1) * 64 <= count; ++done, pixels += 64 * kBytes)
        words[done] = match_pixels<kBytes>(pixels, limits);
    return done;
}

} // namespace

int32_t match_bytes_avx2(const uint8_t* pixels, int32_t count, int32_t bytes, const uint8_t* low, const uint8_t* high,
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

} // namespace vk::combine
