// The bits of thresholded rows with AVX2. Reached by run-time choice alone.
#include "kernel/dither/Bits.h"

#include <immintrin.h>

namespace vk::dither {
namespace {

__m256i four_times(const uint8_t (&eight)[8]) noexcept
{
    int64_t value = 0;
    std::memcpy(&value, eight, sizeof value);
    return _mm256_set1_epi64x(value);
}

} // namespace

size_t bits_avx2(const BitRow& row, const uint8_t* levels, size_t count, uint8_t* dst) noexcept
{
    const __m256i above = four_times(row.above);
    const __m256i always = four_times(row.always);
    // The first pixel of eight is the byte's highest bit, and moved masks begin with the lowest.
    const __m256i reversed =
        _mm256_set_epi64x(0x08090A0B0C0D0E0F, 0x0001020304050607, 0x08090A0B0C0D0E0F, 0x0001020304050607);
    const uint32_t invert = row.invert != 0 ? 0u : ~0u;
    size_t i = 0;
    for (; i + 32 <= count; i += 32) {
        const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(levels + i));
        const __m256i below = _mm256_andnot_si256(always, _mm256_cmpeq_epi8(_mm256_min_epu8(v, above), v));
        const uint32_t bits =
            static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_shuffle_epi8(below, reversed))) ^ invert;
        std::memcpy(dst + i / 8, &bits, sizeof bits);
    }
    return i;
}

} // namespace vk::dither
