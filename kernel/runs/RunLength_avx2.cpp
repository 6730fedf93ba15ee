// The inner loop of compression for processors with AVX2, BMI and POPCNT: 32 bytes are reversed at a time by table, and
// bits are counted and found by single instructions. Gives what the loop in RunLength.cpp gives.
#include "kernel/runs/RunLengthKernel.h"

#include <immintrin.h>

namespace vk::runlength {

namespace {

constexpr size_t kGroup = 4; ///< words in a vector

/// Reverses the bits of each byte.
inline __m256i reversed(__m256i bytes) noexcept
{
    const __m256i low_table = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(0, -128, 64, -64, 32, -96, 96, -32, 16, -112, 80, -48, 48, -80, 112, -16));
    const __m256i high_table =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 8, 4, 12, 2, 10, 6, 14, 1, 9, 5, 13, 3, 11, 7, 15));
    const __m256i nibble = _mm256_set1_epi8(15);
    const __m256i low = _mm256_shuffle_epi8(low_table, _mm256_and_si256(bytes, nibble));
    const __m256i high = _mm256_shuffle_epi8(high_table, _mm256_and_si256(_mm256_srli_epi16(bytes, 4), nibble));
    return _mm256_or_si256(low, high);
}

/// Appends the changes of one word whose bits are in pixel order; returns the new count.
inline size_t append_word(uint64_t word, uint64_t& colour, uint32_t base, uint16_t* list, size_t count) noexcept
{
    const uint64_t changes = word ^ (word << 1 | colour);
    colour = word >> 63;
    return append_positions(changes, static_cast<size_t>(std::popcount(changes)), base, list, count);
}

} // namespace

size_t find_changes_avx2(const uint8_t* pixels, size_t words, uint32_t base, uint64_t colour, uint16_t* list,
                         size_t count) noexcept
{
    size_t i = 0;
    while (i + kGroup <= words) {
        const __m256i bytes = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(pixels + 8 * i));
        const __m256i even = _mm256_set1_epi8(static_cast<char>(0 - colour));
        if (_mm256_movemask_epi8(_mm256_cmpeq_epi8(bytes, even)) != -1) {
            const __m256i bits = reversed(bytes);
            const uint32_t at = base + static_cast<uint32_t>(64 * i);
            const __m128i front = _mm256_castsi256_si128(bits);
            const __m128i back = _mm256_extracti128_si256(bits, 1);
            count = append_word(static_cast<uint64_t>(_mm_cvtsi128_si64(front)), colour, at, list, count);
            count = append_word(static_cast<uint64_t>(_mm_extract_epi64(front, 1)), colour, at + 64, list, count);
            count = append_word(static_cast<uint64_t>(_mm_cvtsi128_si64(back)), colour, at + 128, list, count);
            count = append_word(static_cast<uint64_t>(_mm_extract_epi64(back, 1)), colour, at + 192, list, count);
        }
        i += kGroup;
    }
    for (; i < words; ++i) {
        const __m128i bytes = _mm_cvtsi64_si128(static_cast<int64_t>(load_word(pixels + 8 * i)));
        const __m128i bits = _mm256_castsi256_si128(reversed(_mm256_castsi128_si256(bytes)));
        const uint32_t at = base + static_cast<uint32_t>(64 * i);
        count = append_word(static_cast<uint64_t>(_mm_cvtsi128_si64(bits)), colour, at, list, count);
    }
    return count;
}

} // namespace vk::runlength
