// Alpha, eight pixels at a time.
#include "kernel/fill/AlphaKernels.h"

#include <immintrin.h>

namespace vk::fill {

namespace {

constexpr size_t kPixels = 8;
constexpr int kAlphaBits = static_cast<int>(0xFF000000u);

__m256i load(const uint8_t* from) noexcept
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
}

void store(uint8_t* to, __m256i value) noexcept
{
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), value);
}

/// Channels as words times their alpha, in 255ths rounded to the nearest. `alphas` are words too.
__m256i multiply(__m256i channels, __m256i alphas) noexcept
{
    const __m256i product = _mm256_add_epi16(_mm256_mullo_epi16(channels, alphas), _mm256_set1_epi16(128));
    return _mm256_srli_epi16(_mm256_add_epi16(product, _mm256_srli_epi16(product, 8)), 8);
}

/// A channel, taken to the lowest byte, times 255 by its alpha: half a step and a little is added before the rest is
/// cut off, which is less than any quotient but a half is away from where it turns.
__m256i divide(__m256i channel, __m256 scale) noexcept
{
    const __m256 product = _mm256_mul_ps(_mm256_cvtepi32_ps(channel), scale);
    const __m256 quotient = _mm256_add_ps(product, _mm256_set1_ps(0.5f + 1.0f / 2048));
    return _mm256_min_epi32(_mm256_cvttps_epi32(quotient), _mm256_set1_epi32(255));
}

/// Has memory fetched that is needed soon: the work on pixels leaves it idle. Nothing is read, so the address may lie
/// behind them.
void fetch_ahead(const uint8_t* at) noexcept
{
    constexpr uintptr_t kAhead = 2048;
    __builtin_prefetch(reinterpret_cast<const void*>(reinterpret_cast<uintptr_t>(at) + kAhead));
}

} // namespace

size_t take_alpha_avx2(const uint8_t* pixels, uint8_t* alphas, size_t count) noexcept
{
    const __m256i in_order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    size_t done = 0;
    for (; done + 4 * kPixels <= count; done += 4 * kPixels) {
        __m256i alpha[4];
        for (size_t i = 0; i < 4; ++i)
            alpha[i] = _mm256_srli_epi32(load(pixels + 4 * done + 32 * i), 24);
        const __m256i bytes =
            _mm256_packus_epi16(_mm256_packus_epi32(alpha[0], alpha[1]), _mm256_packus_epi32(alpha[2], alpha[3]));
        store(alphas + done, _mm256_permutevar8x32_epi32(bytes, in_order));
    }
    return done;
}

size_t premultiply_avx2(uint8_t* pixels, size_t count) noexcept
{
    const __m256i zero = _mm256_setzero_si256();
    const __m256i full = _mm256_set1_epi64x(0x00FF000000000000); // alpha itself stays
    const __m256i low =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(3, -1, 3, -1, 3, -1, -1, -1, 7, -1, 7, -1, 7, -1, -1, -1));
    const __m256i high =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(11, -1, 11, -1, 11, -1, -1, -1, 15, -1, 15, -1, 15, -1, -1, -1));
    size_t done = 0;
    for (; done + kPixels <= count; done += kPixels) {
        const __m256i v = load(pixels + 4 * done);
        const __m256i a = multiply(_mm256_unpacklo_epi8(v, zero), _mm256_or_si256(_mm256_shuffle_epi8(v, low), full));
        const __m256i b = multiply(_mm256_unpackhi_epi8(v, zero), _mm256_or_si256(_mm256_shuffle_epi8(v, high), full));
        store(pixels + 4 * done, _mm256_packus_epi16(a, b));
    }
    return done;
}

size_t unpremultiply_avx2(uint8_t* pixels, size_t count) noexcept
{
    const __m256i byte = _mm256_set1_epi32(0xFF);
    size_t done = 0;
    for (; done + kPixels <= count; done += kPixels) {
        fetch_ahead(pixels + 4 * done);
        const __m256i v = load(pixels + 4 * done);
        const __m256i alpha = _mm256_srli_epi32(v, 24);
        const __m256i hidden = _mm256_cmpeq_epi32(alpha, _mm256_setzero_si256());
        const __m256 exact = _mm256_div_ps(_mm256_set1_ps(255), _mm256_cvtepi32_ps(alpha));
        const __m256 scale = _mm256_andnot_ps(_mm256_castsi256_ps(hidden), exact);
        const __m256i first = divide(_mm256_and_si256(v, byte), scale);
        const __m256i second = divide(_mm256_and_si256(_mm256_srli_epi32(v, 8), byte), scale);
        const __m256i third = divide(_mm256_and_si256(_mm256_srli_epi32(v, 16), byte), scale);
        const __m256i colors =
            _mm256_or_si256(_mm256_or_si256(first, _mm256_slli_epi32(second, 8)), _mm256_slli_epi32(third, 16));
        store(pixels + 4 * done, _mm256_or_si256(colors, _mm256_and_si256(v, _mm256_set1_epi32(kAlphaBits))));
    }
    return done;
}

} // namespace vk::fill
