// YUV rows, 32 pixels at a time. Chroma is worked out once per sample in 32 bits, then everything fits 16: a channel of
// the full-range formula is luma plus a whole number, one of the studio formula is
//     y' + k + ((168 y' + r + 511) >> 10),   y' = Y - 16,   chroma term = 1024 k + r,   0 <= r < 1024,
// since 1192 = 1024 + 168; the sum in brackets is kept 16384 lower so that it fits, which the shift turns into 16.
#include "kernel/dib/YuvKernel.h"

#include <immintrin.h>

namespace vk::dib {

namespace {

/// One chroma term for 16 samples, as whole part and rest.
struct Term {
    __m256i whole;
    __m256i rest;
};

/// Sums of products of 16-bit pairs, for the low and high halves of unpacked lanes.
struct Sums {
    __m256i low;
    __m256i high;
};

inline __m256i pair(int16_t first, int16_t second) noexcept
{
    return _mm256_set1_epi32(static_cast<int32_t>(static_cast<uint16_t>(first) |
                                                  static_cast<uint32_t>(static_cast<uint16_t>(second)) << 16));
}

inline Sums weighted(__m256i d, __m256i e, __m256i weights) noexcept
{
    return {_mm256_madd_epi16(_mm256_unpacklo_epi16(d, e), weights),
            _mm256_madd_epi16(_mm256_unpackhi_epi16(d, e), weights)};
}

/// Studio: 1024ths.
inline Term studio_term(__m256i d, __m256i e, int16_t of_d, int16_t of_e) noexcept
{
    const Sums sums = weighted(d, e, pair(of_d, of_e));
    const __m256i mask = _mm256_set1_epi32(1023);
    return {_mm256_packs_epi32(_mm256_srai_epi32(sums.low, 10), _mm256_srai_epi32(sums.high, 10)),
            _mm256_packs_epi32(_mm256_and_si256(sums.low, mask), _mm256_and_si256(sums.high, mask))};
}

/// floor(x / 1000) for x as large as the terms get: eighths fit 16 bits, and those are divided by 125 as unsigned
/// numbers, moved up by a multiple of 125.
inline __m256i thousandths(__m256i low, __m256i high) noexcept
{
    constexpr int kMoved = 230;
    const __m256i eighths = _mm256_packs_epi32(_mm256_srai_epi32(low, 3), _mm256_srai_epi32(high, 3));
    const __m256i moved = _mm256_add_epi16(eighths, _mm256_set1_epi16(kMoved * 125));
    const __m256i quotient =
        _mm256_srli_epi16(_mm256_mulhi_epu16(moved, _mm256_set1_epi16(static_cast<int16_t>(33555))), 6);
    return _mm256_sub_epi16(quotient, _mm256_set1_epi16(kMoved));
}

/// Full range: thousandths and a half, truncated toward zero.
inline Term full_term(__m256i d, __m256i e, int16_t of_d, int16_t of_e) noexcept
{
    const __m256i half = _mm256_set1_epi32(500);
    const __m256i up = _mm256_set1_epi32(999);
    const auto toward_zero = [&](__m256i sum) noexcept {
        sum = _mm256_add_epi32(sum, half);
        return _mm256_add_epi32(sum, _mm256_and_si256(_mm256_srai_epi32(sum, 31), up));
    };
    const Sums sums = weighted(d, e, pair(of_d, of_e));
    return {thousandths(toward_zero(sums.low), toward_zero(sums.high)), _mm256_setzero_si256()};
}

struct Studio {
    /// What all channels of 16 pixels share.
    struct Luma {
        __m256i whole;
        __m256i rest;
    };
    static Term blue(__m256i d, __m256i e) noexcept { return studio_term(d, e, 2066, 0); }
    static Term green(__m256i d, __m256i e) noexcept { return studio_term(d, e, -401, -832); }
    static Term red(__m256i d, __m256i e) noexcept { return studio_term(d, e, 0, 1634); }
    static Luma luma(__m256i y) noexcept
    {
        const __m256i above = _mm256_sub_epi16(y, _mm256_set1_epi16(16));
        return {y, _mm256_add_epi16(_mm256_mullo_epi16(above, _mm256_set1_epi16(168)), _mm256_set1_epi16(511 - 16384))};
    }
    static __m256i channel(const Luma& luma, __m256i whole, __m256i rest) noexcept
    {
        // The 16 that the rest is short of and the 16 that luma is above y' are one and the same.
        return _mm256_add_epi16(_mm256_add_epi16(luma.whole, whole),
                                _mm256_srai_epi16(_mm256_add_epi16(luma.rest, rest), 10));
    }
};

struct Full {
    using Luma = __m256i;
    static Term blue(__m256i d, __m256i e) noexcept { return full_term(d, e, 1772, 0); }
    static Term green(__m256i d, __m256i e) noexcept { return full_term(d, e, -344, -714); }
    static Term red(__m256i d, __m256i e) noexcept { return full_term(d, e, 0, 1402); }
    static Luma luma(__m256i y) noexcept { return y; }
    static __m256i channel(Luma luma, __m256i whole, __m256i) noexcept { return _mm256_add_epi16(luma, whole); }
};

/// 32 bytes of a channel. Chroma terms are in order of samples within each half; each serves two pixels, whose luma
/// halves are in the order that unpacking gives.
template <class Formula>
inline __m256i channel(const typename Formula::Luma& first, const typename Formula::Luma& second,
                       const Term& term) noexcept
{
    const auto of = [&](const typename Formula::Luma& luma, bool high) noexcept {
        const __m256i whole =
            high ? _mm256_unpackhi_epi16(term.whole, term.whole) : _mm256_unpacklo_epi16(term.whole, term.whole);
        const __m256i rest =
            high ? _mm256_unpackhi_epi16(term.rest, term.rest) : _mm256_unpacklo_epi16(term.rest, term.rest);
        return Formula::channel(luma, whole, rest);
    };
    return _mm256_packus_epi16(of(first, false), of(second, true));
}

template <bool stream> inline void store(__m128i* to, __m128i bytes) noexcept
{
    if constexpr (stream)
        _mm_stream_si128(to, bytes);
    else
        _mm_storeu_si128(to, bytes);
}

/// Writes 16 pixels of three channels as 48 bytes.
template <bool stream> inline void store_bgr(uint8_t* to, __m128i b, __m128i g, __m128i r) noexcept
{
    constexpr char x = -1;
    const auto mix = [&](__m128i of_b, __m128i of_g, __m128i of_r) noexcept {
        return _mm_or_si128(_mm_or_si128(_mm_shuffle_epi8(b, of_b), _mm_shuffle_epi8(g, of_g)),
                            _mm_shuffle_epi8(r, of_r));
    };
    auto* const out = reinterpret_cast<__m128i*>(to);
    store<stream>(out, mix(_mm_setr_epi8(0, x, x, 1, x, x, 2, x, x, 3, x, x, 4, x, x, 5),
                           _mm_setr_epi8(x, 0, x, x, 1, x, x, 2, x, x, 3, x, x, 4, x, x),
                           _mm_setr_epi8(x, x, 0, x, x, 1, x, x, 2, x, x, 3, x, x, 4, x)));
    store<stream>(out + 1, mix(_mm_setr_epi8(x, x, 6, x, x, 7, x, x, 8, x, x, 9, x, x, 10, x),
                               _mm_setr_epi8(5, x, x, 6, x, x, 7, x, x, 8, x, x, 9, x, x, 10),
                               _mm_setr_epi8(x, 5, x, x, 6, x, x, 7, x, x, 8, x, x, 9, x, x)));
    store<stream>(out + 2, mix(_mm_setr_epi8(x, 11, x, x, 12, x, x, 13, x, x, 14, x, x, 15, x, x),
                               _mm_setr_epi8(x, x, 11, x, x, 12, x, x, 13, x, x, 14, x, x, 15, x),
                               _mm_setr_epi8(10, x, x, 11, x, x, 12, x, x, 13, x, x, 14, x, x, 15)));
}

/// 32 pixels: luma as 16-bit numbers whose low halves belong to the low halves of the chroma samples' lanes. `first`
/// has pixels 0-7 and 16-23, `second` 8-15 and 24-31; chroma 0-7 and 8-15 are the lanes.
template <class Formula, bool stream>
inline void put_32(__m256i first, __m256i second, __m256i u, __m256i v, uint8_t* bgr) noexcept
{
    const __m256i middle = _mm256_set1_epi16(128);
    const __m256i d = _mm256_sub_epi16(u, middle);
    const __m256i e = _mm256_sub_epi16(v, middle);
    const auto low = Formula::luma(first);
    const auto high = Formula::luma(second);
    const __m256i b = channel<Formula>(low, high, Formula::blue(d, e));
    const __m256i g = channel<Formula>(low, high, Formula::green(d, e));
    const __m256i r = channel<Formula>(low, high, Formula::red(d, e));
    store_bgr<stream>(bgr, _mm256_castsi256_si128(b), _mm256_castsi256_si128(g), _mm256_castsi256_si128(r));
    store_bgr<stream>(bgr + 48, _mm256_extracti128_si256(b, 1), _mm256_extracti128_si256(g, 1),
                      _mm256_extracti128_si256(r, 1));
}

inline __m256i load(const uint8_t* from) noexcept
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
}

inline __m256i widen(const uint8_t* from) noexcept
{
    return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(from)));
}

/// Packed samples: `luma_first` tells which bytes are luma, `u_first` which chroma byte comes first.
template <class Formula, bool luma_first, bool u_first, bool stream>
inline uint32_t packed_as(const uint8_t* from, uint32_t width, uint8_t* bgr) noexcept
{
    const __m256i bytes = _mm256_set1_epi16(0x00FF);
    const __m256i words = _mm256_set1_epi32(0x0000FFFF);
    uint32_t x = 0;
    for (; x + 32 <= width; x += 32) {
        // Lanes: pixels 0-7 with 16-23, and 8-15 with 24-31.
        const __m256i front = load(from + 2 * size_t{x});
        const __m256i back = load(from + 2 * size_t{x} + 32);
        const __m256i low = _mm256_permute2x128_si256(front, back, 0x20);
        const __m256i high = _mm256_permute2x128_si256(front, back, 0x31);
        const auto even = [&](__m256i v) noexcept { return _mm256_and_si256(v, bytes); };
        const auto odd = [&](__m256i v) noexcept { return _mm256_srli_epi16(v, 8); };
        const __m256i chroma_low = luma_first ? odd(low) : even(low);
        const __m256i chroma_high = luma_first ? odd(high) : even(high);
        const __m256i first =
            _mm256_packus_epi32(_mm256_and_si256(chroma_low, words), _mm256_and_si256(chroma_high, words));
        const __m256i second =
            _mm256_packus_epi32(_mm256_srli_epi32(chroma_low, 16), _mm256_srli_epi32(chroma_high, 16));
        put_32<Formula, stream>(luma_first ? even(low) : odd(low), luma_first ? even(high) : odd(high),
                                u_first ? first : second, u_first ? second : first, bgr + 3 * size_t{x});
    }
    return x;
}

template <class Formula, bool luma_first, bool u_first>
uint32_t packed(const uint8_t* from, uint32_t width, uint8_t* bgr, bool stream) noexcept
{
    return stream ? packed_as<Formula, luma_first, u_first, true>(from, width, bgr)
                  : packed_as<Formula, luma_first, u_first, false>(from, width, bgr);
}

template <bool stream> uint32_t planar(const YuvRow& row, uint32_t width, uint8_t* bgr) noexcept
{
    uint32_t x = 0;
    for (; x + 32 <= width; x += 32) {
        const __m256i front = widen(row.y + x);
        const __m256i back = widen(row.y + x + 16);
        put_32<Studio, stream>(_mm256_permute2x128_si256(front, back, 0x20),
                               _mm256_permute2x128_si256(front, back, 0x31), widen(row.u + x / 2), widen(row.v + x / 2),
                               bgr + 3 * size_t{x});
    }
    return x;
}

} // namespace

uint32_t yuy2_full_avx2(const YuvRow& row, uint32_t width, uint8_t* bgr, bool stream) noexcept
{
    return packed<Full, true, true>(row.y, width, bgr, stream);
}

uint32_t uyvy_studio_avx2(const YuvRow& row, uint32_t width, uint8_t* bgr, bool stream) noexcept
{
    return packed<Studio, false, true>(row.u, width, bgr, stream);
}

uint32_t yvyu_studio_avx2(const YuvRow& row, uint32_t width, uint8_t* bgr, bool stream) noexcept
{
    return packed<Studio, true, false>(row.y, width, bgr, stream);
}

uint32_t planar_studio_avx2(const YuvRow& row, uint32_t width, uint8_t* bgr, bool stream) noexcept
{
    return stream ? planar<true>(row, width, bgr) : planar<false>(row, width, bgr);
}

} // namespace vk::dib
