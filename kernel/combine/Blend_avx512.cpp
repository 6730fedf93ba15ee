// Source over, sixteen pixels at a time.
#include "kernel/combine/BlendKernels.h"

#include <immintrin.h>

namespace vk::combine {

namespace {

constexpr size_t kPixels = 16;
constexpr size_t kMixed = 64; ///< pixels of a mix at a time
constexpr int kAlphaBits = static_cast<int>(0xFF000000u);

__m512i load(const uint8_t* from) noexcept
{
    return _mm512_loadu_si512(from);
}

/// For each byte of 64 three-byte pixels, the pixel it belongs to.
struct Thirds {
    alignas(64) uint8_t at[192];
};
constexpr Thirds thirds() noexcept
{
    Thirds order{};
    for (size_t i = 0; i < sizeof order.at; ++i)
        order.at[i] = static_cast<uint8_t>(i / 3);
    return order;
}
constexpr Thirds kThirds = thirds();

/// Words of up to 255 * 255 in 255ths, rounded to the nearest.
__m512i by_255(__m512i products) noexcept
{
    const __m512i moved = _mm512_add_epi16(products, _mm512_set1_epi16(128));
    return _mm512_srli_epi16(_mm512_add_epi16(moved, _mm512_srli_epi16(moved, 8)), 8);
}

void mix_bytes(const uint8_t* from, uint8_t* to, __m512i mask) noexcept
{
    const __m512i zero = _mm512_setzero_si512();
    const __m512i s = load(from);
    const __m512i d = load(to);
    const __m512i rest = _mm512_xor_si512(mask, _mm512_set1_epi8(-1));
    const auto mix = [](__m512i a, __m512i m, __m512i b, __m512i r) noexcept {
        return by_255(_mm512_add_epi16(_mm512_mullo_epi16(a, m), _mm512_mullo_epi16(b, r)));
    };
    const __m512i low = mix(_mm512_unpacklo_epi8(s, zero), _mm512_unpacklo_epi8(mask, zero),
                            _mm512_unpacklo_epi8(d, zero), _mm512_unpacklo_epi8(rest, zero));
    const __m512i high = mix(_mm512_unpackhi_epi8(s, zero), _mm512_unpackhi_epi8(mask, zero),
                             _mm512_unpackhi_epi8(d, zero), _mm512_unpackhi_epi8(rest, zero));
    _mm512_storeu_si512(to, _mm512_packus_epi16(low, high));
}

/// The alpha of each of eight pixels as four words: of the lower and upper pixels as bytes are unpacked.
__m512i low_alphas(__m512i pixels) noexcept
{
    return _mm512_shuffle_epi8(
        pixels, _mm512_broadcast_i32x4(_mm_setr_epi8(3, -1, 3, -1, 3, -1, 3, -1, 7, -1, 7, -1, 7, -1, 7, -1)));
}
__m512i high_alphas(__m512i pixels) noexcept
{
    return _mm512_shuffle_epi8(
        pixels, _mm512_broadcast_i32x4(_mm_setr_epi8(11, -1, 11, -1, 11, -1, 11, -1, 15, -1, 15, -1, 15, -1, 15, -1)));
}

/// Straight pixels over opaque ones, whose alpha stays full.
__m512i over_opaque(__m512i s, __m512i d) noexcept
{
    const __m512i zero = _mm512_setzero_si512();
    const __m512i full = _mm512_set1_epi16(255);
    const __m512i shown = _mm512_or_si512(s, _mm512_set1_epi32(kAlphaBits));
    const auto mix = [&](__m512i a, __m512i b, __m512i alphas) noexcept {
        return by_255(
            _mm512_add_epi16(_mm512_mullo_epi16(a, alphas), _mm512_mullo_epi16(b, _mm512_xor_si512(alphas, full))));
    };
    return _mm512_packus_epi16(mix(_mm512_unpacklo_epi8(shown, zero), _mm512_unpacklo_epi8(d, zero), low_alphas(s)),
                               mix(_mm512_unpackhi_epi8(shown, zero), _mm512_unpackhi_epi8(d, zero), high_alphas(s)));
}

/// What all channels of straight pixels are worked out by: the weights, their sum, half of it, and a little less than
/// one by it.
struct Weights {
    __m512 a;
    __m512 b;
    __m512 sum;
    __m512 half;
    __m512 inverse;
};

Weights weigh(__m512i source, __m512i kept) noexcept
{
    Weights weights;
    const __m512i part = _mm512_sub_epi32(_mm512_slli_epi32(source, 8), source);
    const __m512i sum = _mm512_add_epi32(part, kept);
    weights.a = _mm512_cvtepi32_ps(part);
    weights.b = _mm512_cvtepi32_ps(kept);
    weights.sum = _mm512_cvtepi32_ps(sum);
    weights.half = _mm512_cvtepi32_ps(_mm512_srli_epi32(sum, 1));
    const __m512 about = _mm512_maskz_rcp14_ps(_mm512_test_epi32_mask(sum, sum), weights.sum);
    const __m512 near_one = _mm512_fnmadd_ps(weights.sum, about, _mm512_set1_ps(2));
    weights.inverse = _mm512_mul_ps(about, _mm512_mul_ps(near_one, _mm512_set1_ps(1 - 1.0f / (1 << 21))));
    return weights;
}

/// One channel of straight pixels, taken to the lowest byte: (s a + d b + half) / sum, cut off. Everything but the
/// quotient is a whole number that a float holds; that is never too large, since it errs by less than the inverse is
/// too small by, and when it is one too small the rest says so.
[[gnu::always_inline]] inline __m512i over_channel(__m512i s, __m512i d, const Weights& weights) noexcept
{
    const __m512 value = _mm512_fmadd_ps(_mm512_cvtepi32_ps(s), weights.a,
                                         _mm512_fmadd_ps(_mm512_cvtepi32_ps(d), weights.b, weights.half));
    const __m512i quotient = _mm512_cvttps_epi32(_mm512_mul_ps(value, weights.inverse));
    const __m512 rest = _mm512_fnmadd_ps(_mm512_cvtepi32_ps(quotient), weights.sum, value);
    const __mmask16 up = _mm512_cmp_ps_mask(rest, weights.sum, _CMP_GE_OQ);
    return _mm512_mask_add_epi32(quotient, up, quotient, _mm512_set1_epi32(1));
}

/// Straight pixels over any. A call would load all its constants again.
[[gnu::always_inline]] inline __m512i over_any(__m512i s, __m512i d) noexcept
{
    const __m512i byte = _mm512_set1_epi32(0xFF);
    const __m512i source = _mm512_srli_epi32(s, 24);
    const __m512i kept = _mm512_mullo_epi16(_mm512_srli_epi32(d, 24), _mm512_xor_si512(source, byte));
    const Weights weights = weigh(source, kept);
    const auto channel = [&](char index) noexcept {
        const __m512i order = _mm512_broadcast_i32x4(_mm_setr_epi8(index, -1, -1, -1, static_cast<char>(index + 4), -1,
                                                                   -1, -1, static_cast<char>(index + 8), -1, -1, -1,
                                                                   static_cast<char>(index + 12), -1, -1, -1));
        return over_channel(_mm512_shuffle_epi8(s, order), _mm512_shuffle_epi8(d, order), weights);
    };
    const __m512i alpha = _mm512_slli_epi32(_mm512_add_epi32(source, by_255(kept)), 24);
    const __m512i outer = _mm512_or_si512(channel(0), _mm512_slli_epi32(channel(2), 16));
    const __m512i colors = _mm512_or_si512(outer, _mm512_slli_epi32(channel(1), 8));
    const __mmask16 visible = _mm512_test_epi32_mask(alpha, alpha);
    return _mm512_maskz_or_epi32(visible, alpha, colors);
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

size_t over_premultiplied_avx512(const uint8_t* from, uint8_t* to, const uint8_t*, size_t count) noexcept
{
    const __m512i zero = _mm512_setzero_si512();
    const __m512i full = _mm512_set1_epi16(255);
    for (size_t done = 0; done < count; done += kPixels) {
        const __mmask16 some = lanes(count - done);
        const __m512i s = _mm512_maskz_loadu_epi32(some, from + 4 * done);
        const __m512i d = _mm512_maskz_loadu_epi32(some, to + 4 * done);
        const __m512i rest_low = _mm512_sub_epi16(full, low_alphas(s));
        const __m512i rest_high = _mm512_sub_epi16(full, high_alphas(s));
        const __m512i kept_low = by_255(_mm512_mullo_epi16(_mm512_unpacklo_epi8(d, zero), rest_low));
        const __m512i kept_high = by_255(_mm512_mullo_epi16(_mm512_unpackhi_epi8(d, zero), rest_high));
        _mm512_mask_storeu_epi32(to + 4 * done, some, _mm512_adds_epu8(s, _mm512_packus_epi16(kept_low, kept_high)));
    }
    return count;
}

size_t over_straight_avx512(const uint8_t* from, uint8_t* to, const uint8_t*, size_t count) noexcept
{
    const __m512i opaque = _mm512_set1_epi32(kAlphaBits);
    for (size_t done = 0; done < count; done += kPixels) {
        fetch_ahead(from + 4 * done);
        fetch_ahead(to + 4 * done);
        const __mmask16 some = lanes(count - done);
        const __m512i s = _mm512_maskz_loadu_epi32(some, from + 4 * done);
        const __m512i d = _mm512_maskz_loadu_epi32(some, to + 4 * done);
        const bool is_opaque = _mm512_mask_cmplt_epu32_mask(some, d, opaque) == 0;
        _mm512_mask_storeu_epi32(to + 4 * done, some, is_opaque ? over_opaque(s, d) : over_any(s, d));
    }
    return count;
}

size_t mix_gray_avx512(const uint8_t* from, uint8_t* to, const uint8_t* mask, size_t count) noexcept
{
    size_t done = 0;
    for (; done + kMixed <= count; done += kMixed)
        mix_bytes(from + done, to + done, load(mask + done));
    return done;
}

size_t mix_24_avx512(const uint8_t* from, uint8_t* to, const uint8_t* mask, size_t count) noexcept
{
    const __m512i thirds[] = {load(kThirds.at), load(kThirds.at + 64), load(kThirds.at + 128)};
    size_t done = 0;
    for (; done + kMixed <= count; done += kMixed) {
        const __m512i values = load(mask + done);
        for (size_t i = 0; i < 3; ++i)
            mix_bytes(from + 3 * done + 64 * i, to + 3 * done + 64 * i, _mm512_permutexvar_epi8(thirds[i], values));
    }
    return done;
}

} // namespace vk::combine
