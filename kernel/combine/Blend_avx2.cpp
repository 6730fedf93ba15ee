// Source over, eight pixels at a time.
#include "kernel/combine/BlendKernels.h"

#include <immintrin.h>

namespace vk::combine {

namespace {

constexpr size_t kPixels = 8;
constexpr size_t kMixed = 16; ///< pixels of a mix at a time
constexpr int kAlphaBits = static_cast<int>(0xFF000000u);

__m256i load(const uint8_t* from) noexcept
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
}

__m128i load_half(const uint8_t* from) noexcept
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
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
    const auto words = [](const uint8_t* at) noexcept { return _mm256_cvtepu8_epi16(load_half(at)); };
    const __m256i mixed = mix_words(words(from), words(to), _mm256_cvtepu8_epi16(mask));
    const __m256i packed = _mm256_permute4x64_epi64(_mm256_packus_epi16(mixed, mixed), 0x08);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm256_castsi256_si128(packed));
}

/// The alpha of each of four pixels as four words: of the lower and upper pixels as bytes are unpacked.
__m256i low_alphas(__m256i pixels) noexcept
{
    return _mm256_shuffle_epi8(
        pixels, _mm256_broadcastsi128_si256(_mm_setr_epi8(3, -1, 3, -1, 3, -1, 3, -1, 7, -1, 7, -1, 7, -1, 7, -1)));
}
__m256i high_alphas(__m256i pixels) noexcept
{
    return _mm256_shuffle_epi8(pixels, _mm256_broadcastsi128_si256(_mm_setr_epi8(11, -1, 11, -1, 11, -1, 11, -1, 15, -1,
                                                                                 15, -1, 15, -1, 15, -1)));
}

/// Straight pixels over opaque ones, whose alpha stays full.
__m256i over_opaque(__m256i s, __m256i d) noexcept
{
    const __m256i zero = _mm256_setzero_si256();
    const __m256i shown = _mm256_or_si256(s, _mm256_set1_epi32(kAlphaBits));
    return _mm256_packus_epi16(
        mix_words(_mm256_unpacklo_epi8(shown, zero), _mm256_unpacklo_epi8(d, zero), low_alphas(s)),
        mix_words(_mm256_unpackhi_epi8(shown, zero), _mm256_unpackhi_epi8(d, zero), high_alphas(s)));
}

/// What all channels of straight pixels are worked out by: the weights, their sum, and half of it.
struct Weights {
    __m256 a;
    __m256 b;
    __m256 sum;
    __m256 half;
};

/// One channel of straight pixels, taken to the lowest byte: (s a + d b + half) / sum, cut off. All of it is whole
/// numbers that a float holds. The quotient is no nearer to the next whole number than 1 / 65025, unless it is one, and
/// floats up to 256 are no farther apart, so rounding it does not take it there.
__m256i over_channel(__m256i s, __m256i d, const Weights& weights) noexcept
{
    const __m256 products =
        _mm256_add_ps(_mm256_mul_ps(_mm256_cvtepi32_ps(s), weights.a), _mm256_mul_ps(_mm256_cvtepi32_ps(d), weights.b));
    return _mm256_cvttps_epi32(_mm256_div_ps(_mm256_add_ps(products, weights.half), weights.sum));
}

/// Straight pixels over any. A call would load all its constants again.
[[gnu::always_inline]] inline __m256i over_any(__m256i s, __m256i d) noexcept
{
    const __m256i byte = _mm256_set1_epi32(0xFF);
    const __m256i source = _mm256_srli_epi32(s, 24);
    const __m256i kept = _mm256_mullo_epi16(_mm256_srli_epi32(d, 24), _mm256_xor_si256(source, byte));
    const __m256i part = _mm256_sub_epi32(_mm256_slli_epi32(source, 8), source);
    const __m256i sum = _mm256_add_epi32(part, kept);
    const Weights weights = {_mm256_cvtepi32_ps(part), _mm256_cvtepi32_ps(kept), _mm256_cvtepi32_ps(sum),
                             _mm256_cvtepi32_ps(_mm256_srli_epi32(sum, 1))};
    const auto channel = [&](int shift) noexcept {
        return over_channel(_mm256_and_si256(_mm256_srli_epi32(s, shift), byte),
                            _mm256_and_si256(_mm256_srli_epi32(d, shift), byte), weights);
    };
    const __m256i alpha = _mm256_add_epi32(source, by_255(kept));
    const __m256i colors = _mm256_or_si256(_mm256_or_si256(channel(0), _mm256_slli_epi32(channel(8), 8)),
                                           _mm256_slli_epi32(channel(16), 16));
    const __m256i hidden = _mm256_cmpeq_epi32(sum, _mm256_setzero_si256());
    return _mm256_andnot_si256(hidden, _mm256_or_si256(_mm256_slli_epi32(alpha, 24), colors));
}

/// Has memory fetched that is needed soon: the work on pixels leaves it idle. Nothing is read, so the address may lie
/// behind them.
void fetch_ahead(const uint8_t* at) noexcept
{
    constexpr uintptr_t kAhead = 2048;
    __builtin_prefetch(reinterpret_cast<const void*>(reinterpret_cast<uintptr_t>(at) + kAhead));
}

} // namespace

size_t over_premultiplied_avx2(const uint8_t* from, uint8_t* to, const uint8_t*, size_t count) noexcept
{
    const __m256i zero = _mm256_setzero_si256();
    const __m256i full = _mm256_set1_epi16(255);
    size_t done = 0;
    for (; done + kPixels <= count; done += kPixels) {
        const __m256i s = load(from + 4 * done);
        const __m256i d = load(to + 4 * done);
        const __m256i rest_low = _mm256_sub_epi16(full, low_alphas(s));
        const __m256i rest_high = _mm256_sub_epi16(full, high_alphas(s));
        const __m256i kept_low = by_255(_mm256_mullo_epi16(_mm256_unpacklo_epi8(d, zero), rest_low));
        const __m256i kept_high = by_255(_mm256_mullo_epi16(_mm256_unpackhi_epi8(d, zero), rest_high));
        store(to + 4 * done, _mm256_adds_epu8(s, _mm256_packus_epi16(kept_low, kept_high)));
    }
    return done;
}

size_t over_straight_avx2(const uint8_t* from, uint8_t* to, const uint8_t*, size_t count) noexcept
{
    const __m256i opaque = _mm256_set1_epi32(kAlphaBits);
    size_t done = 0;
    for (; done + kPixels <= count; done += kPixels) {
        fetch_ahead(from + 4 * done);
        fetch_ahead(to + 4 * done);
        const __m256i s = load(from + 4 * done);
        const __m256i d = load(to + 4 * done);
        const bool is_opaque = _mm256_testc_si256(d, opaque) != 0;
        store(to + 4 * done, is_opaque ? over_opaque(s, d) : over_any(s, d));
    }
    return done;
}

size_t mix_gray_avx2(const uint8_t* from, uint8_t* to, const uint8_t* mask, size_t count) noexcept
{
    size_t done = 0;
    for (; done + kMixed <= count; done += kMixed)
        mix_bytes(from + done, to + done, load_half(mask + done));
    return done;
}

size_t mix_24_avx2(const uint8_t* from, uint8_t* to, const uint8_t* mask, size_t count) noexcept
{
    const __m128i first = _mm_setr_epi8(0, 0, 0, 1, 1, 1, 2, 2, 2, 3, 3, 3, 4, 4, 4, 5);
    const __m128i second = _mm_setr_epi8(5, 5, 6, 6, 6, 7, 7, 7, 8, 8, 8, 9, 9, 9, 10, 10);
    const __m128i third = _mm_setr_epi8(10, 11, 11, 11, 12, 12, 12, 13, 13, 13, 14, 14, 14, 15, 15, 15);
    size_t done = 0;
    for (; done + kMixed <= count; done += kMixed) {
        const __m128i values = load_half(mask + done);
        mix_bytes(from + 3 * done, to + 3 * done, _mm_shuffle_epi8(values, first));
        mix_bytes(from + 3 * done + 16, to + 3 * done + 16, _mm_shuffle_epi8(values, second));
        mix_bytes(from + 3 * done + 32, to + 3 * done + 32, _mm_shuffle_epi8(values, third));
    }
    return done;
}

} // namespace vk::combine
