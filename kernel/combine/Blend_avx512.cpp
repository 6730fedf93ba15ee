// Source over, sixteen pixels at a time.
#include "kernel/combine/BlendKernels.h"

#include <immintrin.h>

namespace vk::combine {

namespace {

constexpr size_t kPixels = 16;
constexpr size_t kMixed = 64; ///< pixels of a mix at a time

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

/// What all channels of straight pixels are worked out by: the weights, their sum, and about what it divides by.
struct Weights {
    __m512 a;
    __m512 b;
    __m512 sum;
    __m512 inverse;
};

Weights weigh(__m512i source, __m512i kept) noexcept
{
    Weights weights;
    weights.a = _mm512_mul_ps(_mm512_cvtepi32_ps(source), _mm512_set1_ps(255));
    weights.b = _mm512_cvtepi32_ps(kept);
    weights.sum = _mm512_add_ps(weights.a, weights.b);
    const __mmask16 visible = _mm512_cmp_ps_mask(weights.sum, _mm512_setzero_ps(), _CMP_NEQ_OQ);
    const __m512 about = _mm512_maskz_rcp14_ps(visible, weights.sum);
    weights.inverse = _mm512_mul_ps(about, _mm512_fnmadd_ps(weights.sum, about, _mm512_set1_ps(2)));
    return weights;
}

/// One channel of straight pixels, taken to the lowest byte. All products fit a float, so the rest that is left of a
/// quotient near enough is exact, and says what to put right.
__m512i over_channel(__m512i s, __m512i d, const Weights& weights) noexcept
{
    const __m512 value =
        _mm512_fmadd_ps(_mm512_cvtepi32_ps(s), weights.a, _mm512_mul_ps(_mm512_cvtepi32_ps(d), weights.b));
    const __m512i quotient = _mm512_cvtps_epi32(_mm512_mul_ps(value, weights.inverse));
    const __m512 rest = _mm512_fnmadd_ps(_mm512_cvtepi32_ps(quotient), weights.sum, value);
    const __m512 twice = _mm512_add_ps(rest, rest);
    const __mmask16 up = _mm512_cmp_ps_mask(twice, weights.sum, _CMP_GE_OQ);
    const __mmask16 down = _mm512_cmp_ps_mask(_mm512_add_ps(twice, weights.sum), _mm512_setzero_ps(), _CMP_LT_OQ);
    const __m512i one = _mm512_set1_epi32(1);
    const __m512i raised = _mm512_mask_add_epi32(quotient, up, quotient, one);
    return _mm512_mask_sub_epi32(raised, down, raised, one);
}

} // namespace

size_t over_premultiplied_avx512(const uint8_t* from, uint8_t* to, size_t count) noexcept
{
    const __m512i zero = _mm512_setzero_si512();
    const __m512i full = _mm512_set1_epi16(255);
    const __m512i low = _mm512_broadcast_i32x4(_mm_setr_epi8(3, -1, 3, -1, 3, -1, 3, -1, 7, -1, 7, -1, 7, -1, 7, -1));
    const __m512i high =
        _mm512_broadcast_i32x4(_mm_setr_epi8(11, -1, 11, -1, 11, -1, 11, -1, 15, -1, 15, -1, 15, -1, 15, -1));
    size_t done = 0;
    for (; done + kPixels <= count; done += kPixels) {
        const __m512i s = load(from + 4 * done);
        const __m512i d = load(to + 4 * done);
        const __m512i rest_low = _mm512_sub_epi16(full, _mm512_shuffle_epi8(s, low));
        const __m512i rest_high = _mm512_sub_epi16(full, _mm512_shuffle_epi8(s, high));
        const __m512i kept_low = by_255(_mm512_mullo_epi16(_mm512_unpacklo_epi8(d, zero), rest_low));
        const __m512i kept_high = by_255(_mm512_mullo_epi16(_mm512_unpackhi_epi8(d, zero), rest_high));
        _mm512_storeu_si512(to + 4 * done, _mm512_adds_epu8(s, _mm512_packus_epi16(kept_low, kept_high)));
    }
    return done;
}

size_t over_straight_avx512(const uint8_t* from, uint8_t* to, size_t count) noexcept
{
    const __m512i byte = _mm512_set1_epi32(0xFF);
    size_t done = 0;
    for (; done + kPixels <= count; done += kPixels) {
        const __m512i s = load(from + 4 * done);
        const __m512i d = load(to + 4 * done);
        const __m512i source = _mm512_srli_epi32(s, 24);
        const __m512i kept = _mm512_mullo_epi16(_mm512_srli_epi32(d, 24), _mm512_xor_si512(source, byte));
        const Weights weights = weigh(source, kept);
        const auto channel = [&](unsigned shift) noexcept {
            const __m512i made = over_channel(_mm512_and_si512(_mm512_srli_epi32(s, shift), byte),
                                              _mm512_and_si512(_mm512_srli_epi32(d, shift), byte), weights);
            return _mm512_slli_epi32(made, shift);
        };
        const __m512i alpha = _mm512_slli_epi32(_mm512_add_epi32(source, by_255(kept)), 24);
        const __m512i colors = _mm512_or_si512(_mm512_or_si512(channel(0), channel(8)), channel(16));
        const __mmask16 visible = _mm512_cmp_ps_mask(weights.sum, _mm512_setzero_ps(), _CMP_NEQ_OQ);
        _mm512_storeu_si512(to + 4 * done, _mm512_maskz_or_epi32(visible, alpha, colors));
    }
    return done;
}

size_t mix_avx512(const uint8_t* from, uint8_t* to, const uint8_t* mask, size_t count, int channels) noexcept
{
    const __m512i thirds[] = {load(kThirds.at), load(kThirds.at + 64), load(kThirds.at + 128)};
    size_t done = 0;
    for (; done + kMixed <= count; done += kMixed) {
        const __m512i values = load(mask + done);
        if (channels == 1) {
            mix_bytes(from + done, to + done, values);
            continue;
        }
        for (size_t i = 0; i < 3; ++i)
            mix_bytes(from + 3 * done + 64 * i, to + 3 * done + 64 * i, _mm512_permutexvar_epi8(thirds[i], values));
    }
    return done;
}

} // namespace vk::combine
