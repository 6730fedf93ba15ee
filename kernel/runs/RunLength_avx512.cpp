// The inner loop of compression for processors with AVX-512 VBMI2: the changes of 64 pixels are a mask, and compressing
// the numbers 0 to 63 by it gives their positions, however many there are. Gives what the loop in RunLength.cpp gives.
#include "kernel/runs/RunLengthKernel.h"

#include <immintrin.h>

namespace vk::runlength {

namespace {

constexpr size_t kGroup = 8; ///< words in a vector

/// Reverses the bits of each byte.
inline __m512i reversed(__m512i bytes) noexcept
{
    const __m512i low_table =
        _mm512_broadcast_i32x4(_mm_setr_epi8(0, -128, 64, -64, 32, -96, 96, -32, 16, -112, 80, -48, 48, -80, 112, -16));
    const __m512i high_table =
        _mm512_broadcast_i32x4(_mm_setr_epi8(0, 8, 4, 12, 2, 10, 6, 14, 1, 9, 5, 13, 3, 11, 7, 15));
    const __m512i nibble = _mm512_set1_epi8(15);
    const __m512i low = _mm512_shuffle_epi8(low_table, _mm512_and_si512(bytes, nibble));
    const __m512i high = _mm512_shuffle_epi8(high_table, _mm512_and_si512(_mm512_srli_epi16(bytes, 4), nibble));
    return _mm512_or_si512(low, high);
}

/// The numbers 0 to 63.
inline __m512i numbers() noexcept
{
    const __m512i words = _mm512_setr_epi64(0, 8, 16, 24, 32, 40, 48, 56);
    const __m512i first = _mm512_set1_epi64(0x0706050403020100);
    return _mm512_add_epi8(_mm512_shuffle_epi8(words, _mm512_setr_epi64(0, 0x0808080808080808, 0, 0x0808080808080808, 0,
                                                                        0x0808080808080808, 0, 0x0808080808080808)),
                           first);
}

/// Sixteen positions from sixteen numbers.
inline void store_positions(uint16_t* to, __m128i all, __m256i bases) noexcept
{
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), _mm256_add_epi16(_mm256_cvtepu8_epi16(all), bases));
}

/// Appends the positions of the set bits of `changes`, to each of which its base is added; returns the new count.
__attribute__((target("avx512vbmi2"))) inline size_t append_word(uint64_t changes, __m512i all, __m256i bases,
                                                                 uint16_t* list, size_t count) noexcept
{
    const __m512i found = _mm512_maskz_compress_epi8(changes, all);
    const auto number = static_cast<size_t>(std::popcount(changes));
    uint16_t* const to = list + count;
    store_positions(to, _mm512_castsi512_si128(found), bases);
    if (number > 16) { // seldom, or always
        store_positions(to + 16, _mm512_extracti32x4_epi32(found, 1), bases);
        store_positions(to + 32, _mm512_extracti32x4_epi32(found, 2), bases);
        store_positions(to + 48, _mm512_extracti32x4_epi32(found, 3), bases);
    }
    return count + number;
}

} // namespace

__attribute__((target("avx512vbmi2"))) size_t find_changes_avx512(const uint8_t* pixels, size_t words, uint32_t base,
                                                                  uint64_t colour, uint16_t* list,
                                                                  size_t count) noexcept
{
    const __m512i all = numbers();
    const __m256i word = _mm256_set1_epi16(64);
    const uint64_t turned = colour ^ count;
    __m512i before = _mm512_set1_epi64(static_cast<int64_t>(0 - colour)); // its last bit is what counts
    for (size_t i = 0; i < words; i += kGroup) {
        const size_t present = words - i < kGroup ? words - i : kGroup;
        const auto lanes = static_cast<__mmask8>(0xFFu >> (kGroup - present));
        const __m512i bytes = _mm512_maskz_loadu_epi64(lanes, pixels + 8 * i);
        const __m512i even = _mm512_set1_epi64(static_cast<int64_t>(0 - ((turned ^ count) & 1u)));
        if (_mm512_mask_cmpneq_epi64_mask(lanes, bytes, even) == 0) {
            before = even;
            continue;
        }
        const __m512i bits = reversed(bytes);
        const __m512i carried = _mm512_srli_epi64(_mm512_alignr_epi64(bits, before, 7), 63);
        const __m512i moved = _mm512_or_si512(_mm512_slli_epi64(bits, 1), carried);
        const __m512i changes = _mm512_maskz_xor_epi64(lanes, bits, moved);
        before = bits;
        alignas(64) uint64_t masks[kGroup];
        _mm512_storeu_si512(masks, changes);
        __m256i bases = _mm256_set1_epi16(static_cast<int16_t>(base + 64 * i));
        for (size_t k = 0; k < present; ++k, bases = _mm256_add_epi16(bases, word))
            count = append_word(masks[k], all, bases, list, count);
    }
    return count;
}

} // namespace vk::runlength
