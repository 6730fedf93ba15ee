// Source over, eight pixels at a time.
#include "kernel/combine/BlendKernels.h"

#include <immintrin.h>

namespace vk::combine {

namespace {

constexpr size_t kPixels = 8;
constexpr size_t kMixed = 16; ///< pixels of a mix at a time

__m256i load(const uint8_t* from) noexcept
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
}

void store(uint8_t* to, __m256i value) noexcept
{
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), value);
}

/// Words of up to 255 * 255 in 255ths, rounded to the nearest.
__m256i by_255(__m256i products) noexcept
{
    const __m256i moved = _mm256_add_epi16(products, _mm256_set1_epi16(128));
    return _mm256_srli_epi16(_mm256_add_epi16(moved, _mm256_srli_epi16(moved, 8)), 8);
}

/// Of sixteen channels, each under its own mask value.
__m256i mix_words(__m256i s, __m256i d, __m256i mask) noexcept
{
    const __m256i rest = _mm256_xor_si256(mask, _mm256_set1_epi16(255));
    return by_255(_mm256_add_epi16(_mm256_mullo_epi16(s, mask), _mm256_mullo_epi16(d, rest)));
}

void mix_bytes(const uint8_t* from, uint8_t* to, __m128i mask) noexcept
{
    const auto words = [](const uint8_t* at) noexcept {
        return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(at)));
    };
    const __m256i mixed = mix_words(words(from), words(to), _mm256_cvtepu8_epi16(mask));
    const __m256i packed = _mm256_permute4x64_epi64(_mm256_packus_epi16(mixed, mixed), 0x08);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm256_castsi256_si128(packed));
}

/// One channel of straight pixels, taken to the lowest byte. `a` and `b` weigh source and destination, `sum` is both.
/// All products fit a float, so the rest that is left of a quotient near enough is exact, and says what to put right.
__m256i over_channel(__m256i s, __m256i d, __m256 a, __m256 b, __m256 sum) noexcept
{
    const __m256 value =
        _mm256_add_ps(_mm256_mul_ps(_mm256_cvtepi32_ps(s), a), _mm256_mul_ps(_mm256_cvtepi32_ps(d), b));
    const __m256 quotient = _mm256_round_ps(_mm256_div_ps(value, sum), _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC);
    const __m256 rest = _mm256_sub_ps(value, _mm256_mul_ps(quotient, sum));
    const __m256 twice = _mm256_add_ps(rest, rest);
    const __m256 up = _mm256_cmp_ps(twice, sum, _CMP_GE_OQ);
    const __m256 down = _mm256_cmp_ps(_mm256_add_ps(twice, sum), _mm256_setzero_ps(), _CMP_LT_OQ);
    const __m256i rounded = _mm256_sub_epi32(_mm256_cvttps_epi32(quotient), _mm256_castps_si256(up));
    return _mm256_add_epi32(rounded, _mm256_castps_si256(down));
}

} // namespace

size_t over_premultiplied_avx2(const uint8_t* from, uint8_t* to, size_t count) noexcept
{
    const __m256i zero = _mm256_setzero_si256();
    const __m256i full = _mm256_set1_epi16(255);
    const __m256i low =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(3, -1, 3, -1, 3, -1, 3, -1, 7, -1, 7, -1, 7, -1, 7, -1));
    const __m256i high =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(11, -1, 11, -1, 11, -1, 11, -1, 15, -1, 15, -1, 15, -1, 15, -1));
    size_t done = 0;
    for (; done + kPixels <= count; done += kPixels) {
        const __m256i s = load(from + 4 * done);
        const __m256i d = load(to + 4 * done);
        const __m256i rest_low = _mm256_sub_epi16(full, _mm256_shuffle_epi8(s, low));
        const __m256i rest_high = _mm256_sub_epi16(full, _mm256_shuffle_epi8(s, high));
        const __m256i kept_low = by_255(_mm256_mullo_epi16(_mm256_unpacklo_epi8(d, zero), rest_low));
        const __m256i kept_high = by_255(_mm256_mullo_epi16(_mm256_unpackhi_epi8(d, zero), rest_high));
        store(to + 4 * done, _mm256_adds_epu8(s, _mm256_packus_epi16(kept_low, kept_high)));
    }
    return done;
}

size_t over_straight_avx2(const uint8_t* from, uint8_t* to, size_t count) noexcept
{
    const __m256i byte = _mm256_set1_epi32(0xFF);
    size_t done = 0;
    for (; done + kPixels <= count; done += kPixels) {
        const __m256i s = load(from + 4 * done);
        const __m256i d = load(to + 4 * done);
        const __m256i source = _mm256_srli_epi32(s, 24);
        const __m256i kept = _mm256_mullo_epi16(_mm256_srli_epi32(d, 24), _mm256_xor_si256(source, byte));
        const __m256 a = _mm256_mul_ps(_mm256_cvtepi32_ps(source), _mm256_set1_ps(255));
        const __m256 b = _mm256_cvtepi32_ps(kept);
        const __m256 sum = _mm256_add_ps(a, b);
        const auto channel = [&](int shift) noexcept {
            return over_channel(_mm256_and_si256(_mm256_srli_epi32(s, shift), byte),
                                _mm256_and_si256(_mm256_srli_epi32(d, shift), byte), a, b, sum);
        };
        const __m256i alpha = _mm256_add_epi32(source, by_255(kept));
        const __m256i colors = _mm256_or_si256(_mm256_or_si256(channel(0), _mm256_slli_epi32(channel(8), 8)),
                                               _mm256_slli_epi32(channel(16), 16));
        const __m256i hidden = _mm256_cmpeq_epi32(_mm256_castps_si256(sum), _mm256_setzero_si256());
        store(to + 4 * done, _mm256_andnot_si256(hidden, _mm256_or_si256(_mm256_slli_epi32(alpha, 24), colors)));
    }
    return done;
}

size_t mix_avx2(const uint8_t* from, uint8_t* to, const uint8_t* mask, size_t count, int channels) noexcept
{
    const __m128i first = _mm_setr_epi8(0, 0, 0, 1, 1, 1, 2, 2, 2, 3, 3, 3, 4, 4, 4, 5);
    const __m128i second = _mm_setr_epi8(5, 5, 6, 6, 6, 7, 7, 7, 8, 8, 8, 9, 9, 9, 10, 10);
    const __m128i third = _mm_setr_epi8(10, 11, 11, 11, 12, 12, 12, 13, 13, 13, 14, 14, 14, 15, 15, 15);
    size_t done = 0;
    for (; done + kMixed <= count; done += kMixed) {
        const __m128i values = _mm_loadu_si128(reinterpret_cast<const __m128i*>(mask + done));
        if (channels == 1) {
            mix_bytes(from + done, to + done, values);
            continue;
        }
        mix_bytes(from + 3 * done, to + 3 * done, _mm_shuffle_epi8(values, first));
        mix_bytes(from + 3 * done + 16, to + 3 * done + 16, _mm_shuffle_epi8(values, second));
        mix_bytes(from + 3 * done + 32, to + 3 * done + 32, _mm_shuffle_epi8(values, third));
    }
    return done;
}

} // namespace vk::combine
