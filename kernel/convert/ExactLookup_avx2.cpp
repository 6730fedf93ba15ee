// The exact look-up's inner loop for AVX2: cells and answers of eight colours are gathered at a time.
#include "kernel/convert/ExactLookup.h"

#include <immintrin.h>

namespace vk::pixel {
namespace {

template <int Right> __m256i bits_at(__m256i v, int mask) noexcept
{
    return _mm256_and_si256(_mm256_srli_epi32(v, Right), _mm256_set1_epi32(mask));
}

__m256i any_of(__m256i a, __m256i b, __m256i c) noexcept
{
    return _mm256_or_si256(_mm256_or_si256(a, b), c);
}

} // namespace

size_t match_known_avx2(const uint32_t* cells, const uint8_t* answers, const Rgba8* colors, uint8_t* indices,
                        size_t count) noexcept
{
    const __m256i one = _mm256_set1_epi32(1);
    size_t i = 0;
    for (; i + 8 <= count; i += 8) {
        const __m256i word = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(colors + i));
        const __m256i cell = any_of(bits_at<6>(word, 0x3F000), bits_at<4>(word, 0xFC0), bits_at<2>(word, 0x3F));
        const __m256i value = _mm256_i32gather_epi32(reinterpret_cast<const int*>(cells), cell, 4);
        const __m256i unknown = _mm256_cmpeq_epi32(value, _mm256_setzero_si256());
        if (_mm256_testz_si256(unknown, unknown) == 0) {
            break;
        }
        const __m256i place = any_of(bits_at<12>(word, 0x30), bits_at<6>(word, 0xC), bits_at<0>(word, 3));
        const __m256i held = _mm256_sub_epi32(value, one);
        const __m256i at = _mm256_add_epi32(_mm256_srli_epi32(held, 6), _mm256_and_si256(place, held));
        const __m256i found = _mm256_i32gather_epi32(reinterpret_cast<const int*>(answers), at, 1);
        const __m256i low = _mm256_and_si256(found, _mm256_set1_epi32(0xFF));
        const __m128i words = _mm_packus_epi32(_mm256_castsi256_si128(low), _mm256_extracti128_si256(low, 1));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(indices + i), _mm_packus_epi16(words, words));
    }
    return i;
}

} // namespace vk::pixel
