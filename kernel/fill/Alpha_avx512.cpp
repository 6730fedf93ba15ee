// Alpha, sixteen pixels at a time.
#include "kernel/fill/AlphaKernels.h"

#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized" // the compiler's own header leaves registers undefined
#pragma GCC diagnostic ignored "-Wuninitialized"
#endif
#include <immintrin.h>

namespace vk::fill {

namespace {

constexpr size_t kPixels = 16;
constexpr int kAlphaBits = static_cast<int>(0xFF000000u);

__m512i load(const uint8_t* from) noexcept
{
    return _mm512_loadu_si512(from);
}

/// The last bytes of 32 pixels, for the lower half.
struct LastBytes {
    alignas(64) uint8_t at[64];
};
constexpr LastBytes last_bytes() noexcept
{
    LastBytes order{};
    for (size_t i = 0; i < 32; ++i)
        order.at[i] = static_cast<uint8_t>(4 * i + 3);
    return order;
}
constexpr LastBytes kLastBytes = last_bytes();

/// Eight pixels' channels as words times their alpha, in 255ths rounded to the nearest. `alphas` are words too.
__m512i multiply(__m512i channels, __m512i alphas) noexcept
{
    const __m512i product = _mm512_add_epi16(_mm512_mullo_epi16(channels, alphas), _mm512_set1_epi16(128));
    return _mm512_srli_epi16(_mm512_add_epi16(product, _mm512_srli_epi16(product, 8)), 8);
}

/// A channel, taken to the lowest byte, times 255 by its alpha: half a step and a little is added before the rest is
/// cut off, which is less than any quotient but a half is away from where it turns.
__m512i divide(__m512i channel, __m512 scale) noexcept
{
    const __m512 quotient = _mm512_fmadd_ps(_mm512_cvtepi32_ps(channel), scale, _mm512_set1_ps(0.5f + 1.0f / 2048));
    return _mm512_min_epi32(_mm512_cvttps_epi32(quotient), _mm512_set1_epi32(255));
}

/// The lanes that hold pixels when `left` of them are left.
__mmask16 lanes(size_t left) noexcept
{
    return left >= kPixels ? __mmask16{0xFFFF} : static_cast<__mmask16>((1u << left) - 1);
}

/// Has memory fetched that is needed soon: the work on pixels leaves it idle. Nothing is read, so the address may lie
/// behind them.
void fetch_ahead(const uint8_t* at) noexcept
{
    constexpr uintptr_t kAhead = 2048;
    __builtin_prefetch(reinterpret_cast<const void*>(reinterpret_cast<uintptr_t>(at) + kAhead));
}

} // namespace

size_t take_alpha_avx512(const uint8_t* pixels, uint8_t* alphas, size_t count) noexcept
{
    const __m512i order = _mm512_load_si512(kLastBytes.at);
    size_t done = 0;
    for (; done + 4 * kPixels <= count; done += 4 * kPixels) {
        const uint8_t* const from = pixels + 4 * done;
        const __m512i first = _mm512_permutex2var_epi8(load(from), order, load(from + 64));
        const __m512i second = _mm512_permutex2var_epi8(load(from + 128), order, load(from + 192));
        _mm512_storeu_si512(alphas + done, _mm512_inserti64x4(first, _mm512_castsi512_si256(second), 1));
    }
    return done;
}

size_t premultiply_avx512(uint8_t* pixels, size_t count) noexcept
{
    const __m512i zero = _mm512_setzero_si512();
    const __m512i full = _mm512_set1_epi64(0x00FF000000000000); // alpha itself stays
    const __m512i low = _mm512_broadcast_i32x4(_mm_setr_epi8(3, -1, 3, -1, 3, -1, -1, -1, 7, -1, 7, -1, 7, -1, -1, -1));
    const __m512i high =
        _mm512_broadcast_i32x4(_mm_setr_epi8(11, -1, 11, -1, 11, -1, -1, -1, 15, -1, 15, -1, 15, -1, -1, -1));
    for (size_t done = 0; done < count; done += kPixels) {
        const __mmask16 some = lanes(count - done);
        const __m512i v = _mm512_maskz_loadu_epi32(some, pixels + 4 * done);
        const __m512i a = multiply(_mm512_unpacklo_epi8(v, zero), _mm512_or_si512(_mm512_shuffle_epi8(v, low), full));
        const __m512i b = multiply(_mm512_unpackhi_epi8(v, zero), _mm512_or_si512(_mm512_shuffle_epi8(v, high), full));
        _mm512_mask_storeu_epi32(pixels + 4 * done, some, _mm512_packus_epi16(a, b));
    }
    return count;
}

size_t unpremultiply_avx512(uint8_t* pixels, size_t count) noexcept
{
    const __m512i byte = _mm512_set1_epi32(0xFF);
    const __m512 two = _mm512_set1_ps(2);
    for (size_t done = 0; done < count; done += kPixels) {
        fetch_ahead(pixels + 4 * done);
        const __mmask16 some = lanes(count - done);
        const __m512i v = _mm512_maskz_loadu_epi32(some, pixels + 4 * done);
        const __m512i alpha = _mm512_srli_epi32(v, 24);
        const __mmask16 visible = _mm512_test_epi32_mask(alpha, alpha);
        const __m512 value = _mm512_cvtepi32_ps(alpha);
        const __m512 about = _mm512_maskz_rcp14_ps(visible, value);
        const __m512 inverse = _mm512_mul_ps(about, _mm512_fnmadd_ps(value, about, two));
        const __m512 scale = _mm512_mul_ps(inverse, _mm512_set1_ps(255));
        const __m512i first = divide(_mm512_and_si512(v, byte), scale);
        const __m512i second = divide(_mm512_and_si512(_mm512_srli_epi32(v, 8), byte), scale);
        const __m512i third = divide(_mm512_and_si512(_mm512_srli_epi32(v, 16), byte), scale);
        const __m512i two_colors = _mm512_or_si512(first, _mm512_slli_epi32(second, 8));
        const __m512i colors = _mm512_or_si512(two_colors, _mm512_slli_epi32(third, 16));
        _mm512_mask_storeu_epi32(pixels + 4 * done, some,
                                 _mm512_or_si512(colors, _mm512_and_si512(v, _mm512_set1_epi32(kAlphaBits))));
    }
    return count;
}

} // namespace vk::fill
