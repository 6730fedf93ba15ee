// YUV rows, 64 pixels at a time, where bytes can be permuted across a register. The arithmetic, and the order of pixels
// in the registers' quarters, are those of Yuv_avx2.cpp, which explains them; here every register has four quarters.
#include "kernel/dib/YuvKernel.h"

#include <immintrin.h>

namespace vk::dib {

namespace {

/// One chroma term for 32 samples, as whole part and rest.
struct Term {
    __m512i whole;
    __m512i rest;
};

inline __m512i add(__m512i a, __m512i b) noexcept
{
    return _mm512_add_epi16(a, b);
}

inline __m512i words(int32_t value) noexcept
{
    return _mm512_set1_epi16(static_cast<int16_t>(value));
}

// These have a mask of everything, because compilers warn of the value that the plain forms leave undefined.
constexpr __mmask8 kAll64 = 0xFF;
constexpr __mmask16 kAll32 = 0xFFFF;

template <unsigned bits> inline __m512i shift(__m512i v) noexcept
{
    return _mm512_maskz_srli_epi32(kAll32, v, bits);
}

template <unsigned bits> inline __m512i shift_signed(__m512i v) noexcept
{
    return _mm512_maskz_srai_epi32(kAll32, v, bits);
}

/// Sums of products of 16-bit pairs, for the low or the high halves of unpacked quarters.
template <bool high> inline __m512i weighted(__m512i d, __m512i e, int16_t of_d, int16_t of_e) noexcept
{
    const uint32_t pair = static_cast<uint16_t>(of_d) | static_cast<uint32_t>(static_cast<uint16_t>(of_e)) << 16;
    return _mm512_madd_epi16(high ? _mm512_unpackhi_epi16(d, e) : _mm512_unpacklo_epi16(d, e),
                             _mm512_set1_epi32(static_cast<int32_t>(pair)));
}

struct Studio {
    struct Luma {
        __m512i whole;
        __m512i rest;
    };
    static Term term(__m512i d, __m512i e, int16_t of_d, int16_t of_e) noexcept
    {
        const __m512i low = weighted<false>(d, e, of_d, of_e);
        const __m512i high = weighted<true>(d, e, of_d, of_e);
        const __m512i mask = _mm512_set1_epi32(1023);
        return {_mm512_packs_epi32(shift_signed<10>(low), shift_signed<10>(high)),
                _mm512_packs_epi32(_mm512_and_si512(low, mask), _mm512_and_si512(high, mask))};
    }
    static Term blue(__m512i d, __m512i e) noexcept { return term(d, e, 2066, 0); }
    static Term green(__m512i d, __m512i e) noexcept { return term(d, e, -401, -832); }
    static Term red(__m512i d, __m512i e) noexcept { return term(d, e, 0, 1634); }
    static Luma luma(__m512i y) noexcept
    {
        const __m512i above = _mm512_sub_epi16(y, words(16));
        return {y, add(_mm512_mullo_epi16(above, words(168)), words(511 - 16384))};
    }
    template <bool high> static __m512i channel(const Luma& luma, const Term& term) noexcept
    {
        const __m512i whole =
            high ? _mm512_unpackhi_epi16(term.whole, term.whole) : _mm512_unpacklo_epi16(term.whole, term.whole);
        const __m512i rest =
            high ? _mm512_unpackhi_epi16(term.rest, term.rest) : _mm512_unpacklo_epi16(term.rest, term.rest);
        return add(add(luma.whole, whole), _mm512_srai_epi16(add(luma.rest, rest), 10));
    }
};

struct Full {
    using Luma = __m512i;
    static __m512i toward_zero(__m512i sum) noexcept
    {
        sum = _mm512_add_epi32(sum, _mm512_set1_epi32(500));
        return _mm512_add_epi32(sum, _mm512_and_si512(shift_signed<31>(sum), _mm512_set1_epi32(999)));
    }
    static __m512i thousandths(__m512i low, __m512i high) noexcept
    {
        constexpr int kMoved = 230;
        const __m512i eighths = _mm512_packs_epi32(shift_signed<3>(low), shift_signed<3>(high));
        const __m512i moved = add(eighths, words(kMoved * 125));
        return _mm512_sub_epi16(_mm512_srli_epi16(_mm512_mulhi_epu16(moved, words(33555)), 6), words(kMoved));
    }
    static Term term(__m512i d, __m512i e, int16_t of_d, int16_t of_e) noexcept
    {
        return {
            thousandths(toward_zero(weighted<false>(d, e, of_d, of_e)), toward_zero(weighted<true>(d, e, of_d, of_e))),
            _mm512_setzero_si512()};
    }
    static Term blue(__m512i d, __m512i e) noexcept { return term(d, e, 1772, 0); }
    static Term green(__m512i d, __m512i e) noexcept { return term(d, e, -344, -714); }
    static Term red(__m512i d, __m512i e) noexcept { return term(d, e, 0, 1402); }
    static Luma luma(__m512i y) noexcept { return y; }
    template <bool high> static __m512i channel(Luma luma, const Term& term) noexcept
    {
        return add(luma, high ? _mm512_unpackhi_epi16(term.whole, term.whole)
                              : _mm512_unpacklo_epi16(term.whole, term.whole));
    }
};

/// Where the bytes of one of three registers of pixels come from: blue and green together, then red.
struct Order {
    alignas(64) uint8_t blue_green[64];
    alignas(64) uint8_t red[64];
    uint64_t is_red;
};
struct Orders {
    Order part[3];
};

constexpr Orders make_orders() noexcept
{
    Orders orders{};
    for (uint32_t i = 0; i < 192; ++i) {
        Order& order = orders.part[i / 64];
        const auto pixel = static_cast<uint8_t>(i / 3);
        order.blue_green[i % 64] = static_cast<uint8_t>(i % 3 == 1 ? 64 + pixel : pixel);
        order.red[i % 64] = pixel;
        order.is_red |= i % 3 == 2 ? uint64_t{1} << (i % 64) : 0;
    }
    return orders;
}

constexpr Orders kOrders = make_orders();

template <bool stream> inline void store_bgr(uint8_t* to, __m512i b, __m512i g, __m512i r) noexcept
{
    for (size_t i = 0; i < 3; ++i) {
        const Order& order = kOrders.part[i];
        const __m512i both = _mm512_permutex2var_epi8(b, _mm512_load_si512(order.blue_green), g);
        const __m512i all = _mm512_mask_permutexvar_epi8(both, order.is_red, _mm512_load_si512(order.red), r);
        if constexpr (stream)
            _mm512_stream_si512(reinterpret_cast<__m512i*>(to + 64 * i), all);
        else
            _mm512_storeu_si512(to + 64 * i, all);
    }
}

/// 64 pixels: `first` has luma of pixels 0-7, 16-23, 32-39 and 48-55, `second` of the others.
template <class Formula, bool stream>
inline void put_64(__m512i first, __m512i second, __m512i u, __m512i v, uint8_t* bgr) noexcept
{
    const __m512i d = _mm512_sub_epi16(u, words(128));
    const __m512i e = _mm512_sub_epi16(v, words(128));
    const auto low = Formula::luma(first);
    const auto high = Formula::luma(second);
    const auto channel = [&](const Term& term) noexcept {
        return _mm512_packus_epi16(Formula::template channel<false>(low, term),
                                   Formula::template channel<true>(high, term));
    };
    store_bgr<stream>(bgr, channel(Formula::blue(d, e)), channel(Formula::green(d, e)), channel(Formula::red(d, e)));
}

/// Asks for what a later step reads, beyond the page that the processor looks ahead in by itself. Nothing is read, so
/// the address may lie behind the samples.
template <bool stream, size_t bytes> inline void fetch_ahead(const uint8_t* from) noexcept
{
    constexpr size_t kAhead = 8192;
    for (size_t offset = 0; stream && offset < bytes; offset += 64)
        __builtin_prefetch(reinterpret_cast<const void*>(reinterpret_cast<uintptr_t>(from) + kAhead + offset));
}

/// The even and the odd quarters of two registers.
inline __m512i even_quarters(__m512i a, __m512i b) noexcept
{
    return _mm512_maskz_shuffle_i64x2(kAll64, a, b, 0x88);
}

inline __m512i odd_quarters(__m512i a, __m512i b) noexcept
{
    return _mm512_maskz_shuffle_i64x2(kAll64, a, b, 0xDD);
}

/// Packed samples: `luma_first` tells which bytes are luma, `u_first` which chroma byte comes first.
template <class Formula, bool luma_first, bool u_first, bool stream>
uint32_t packed_as(const uint8_t* from, uint32_t width, uint8_t* bgr) noexcept
{
    const auto even = [](__m512i v) noexcept { return _mm512_and_si512(v, words(0x00FF)); };
    const auto odd = [](__m512i v) noexcept { return _mm512_srli_epi16(v, 8); };
    const __m512i low_words = _mm512_set1_epi32(0x0000FFFF);
    uint32_t x = 0;
    for (; x + 64 <= width; x += 64) {
        fetch_ahead<stream, 128>(from + 2 * size_t{x});
        const __m512i front = _mm512_loadu_si512(from + 2 * size_t{x});
        const __m512i back = _mm512_loadu_si512(from + 2 * size_t{x} + 64);
        const __m512i low = even_quarters(front, back);
        const __m512i high = odd_quarters(front, back);
        const __m512i chroma_low = luma_first ? odd(low) : even(low);
        const __m512i chroma_high = luma_first ? odd(high) : even(high);
        const __m512i first =
            _mm512_packus_epi32(_mm512_and_si512(chroma_low, low_words), _mm512_and_si512(chroma_high, low_words));
        const __m512i second = _mm512_packus_epi32(shift<16>(chroma_low), shift<16>(chroma_high));
        put_64<Formula, stream>(luma_first ? even(low) : odd(low), luma_first ? even(high) : odd(high),
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

inline __m512i widen(const uint8_t* from) noexcept
{
    return _mm512_cvtepu8_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(from)));
}

template <bool stream> uint32_t planar(const YuvRow& row, uint32_t width, uint8_t* bgr) noexcept
{
    uint32_t x = 0;
    for (; x + 64 <= width; x += 64) {
        fetch_ahead<stream, 64>(row.y + x);
        const __m512i front = widen(row.y + x);
        const __m512i back = widen(row.y + x + 32);
        put_64<Studio, stream>(even_quarters(front, back), odd_quarters(front, back), widen(row.u + x / 2),
                               widen(row.v + x / 2), bgr + 3 * size_t{x});
    }
    return x;
}

} // namespace

uint32_t yuy2_full_avx512(const YuvRow& row, uint32_t width, uint8_t* bgr, bool stream) noexcept
{
    return packed<Full, true, true>(row.y, width, bgr, stream);
}

uint32_t uyvy_studio_avx512(const YuvRow& row, uint32_t width, uint8_t* bgr, bool stream) noexcept
{
    return packed<Studio, false, true>(row.u, width, bgr, stream);
}

uint32_t yvyu_studio_avx512(const YuvRow& row, uint32_t width, uint8_t* bgr, bool stream) noexcept
{
    return packed<Studio, true, false>(row.y, width, bgr, stream);
}

uint32_t planar_studio_avx512(const YuvRow& row, uint32_t width, uint8_t* bgr, bool stream) noexcept
{
    return stream ? planar<true>(row, width, bgr) : planar<false>(row, width, bgr);
}

} // namespace vk::dib
