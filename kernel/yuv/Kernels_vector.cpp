// The loops for vectors of 64 bytes. Products with rounding are an instruction of their own, sums that would leave 16
// bits saturate, which the cut to a byte does not see; three channels go into rows of pixels by permutations.
#include "kernel/yuv/Kernels.h"
#include "kernel/yuv/Loops.h"

#include <array>
#include <immintrin.h>

namespace vk::yuv {

namespace {

using Bytes64 = std::array<uint8_t, 64>;

/// For byte i of part `part` of 192 bytes of pixels: where it comes from in 64 blue and 64 green ones, the red ones
/// aside; a red one's number.
consteval Bytes64 blue_green(size_t part) noexcept
{
    Bytes64 index{};
    for (size_t i = 0; i < 64; ++i) {
        const size_t at = 64 * part + i;
        index[i] = static_cast<uint8_t>(at / 3 + (at % 3 == 1 ? 64 : 0));
    }
    return index;
}

consteval uint64_t reds(size_t part) noexcept
{
    uint64_t mask = 0;
    for (size_t i = 0; i < 64; ++i)
        mask |= (64 * part + i) % 3 == 2 ? uint64_t{1} << i : 0;
    return mask;
}

constexpr Bytes64 kBlueGreen[] = {blue_green(0), blue_green(1), blue_green(2)};
constexpr uint64_t kReds[] = {reds(0), reds(1), reds(2)};

/// For channel `c`: bytes of the first two parts, by 128 places, and which are in the third.
consteval Bytes64 channel_index(size_t c) noexcept
{
    Bytes64 index{};
    for (size_t i = 0; i < 64; ++i)
        index[i] = static_cast<uint8_t>((3 * i + c) % 128);
    return index;
}

consteval uint64_t in_third(size_t c) noexcept
{
    uint64_t mask = 0;
    for (size_t i = 0; i < 64; ++i)
        mask |= 3 * i + c >= 128 ? uint64_t{1} << i : 0;
    return mask;
}

constexpr Bytes64 kChannel[] = {channel_index(0), channel_index(1), channel_index(2)};
constexpr uint64_t kInThird[] = {in_third(0), in_third(1), in_third(2)};

inline __m512i load(const void* from) noexcept
{
    return _mm512_loadu_si512(from);
}

/// Has memory that is needed soon fetched: the processor's own fetching ends with each page, which rows often are.
constexpr size_t kAhead = 1024;

inline void fetch_ahead(const uint8_t* at) noexcept
{
    _mm_prefetch(reinterpret_cast<const char*>(at) + kAhead, _MM_HINT_T0);
}

inline __m512i index_of(const Bytes64& index) noexcept
{
    return _mm512_loadu_si512(index.data());
}

struct Triple {
    __m512i b, g, r;
};

template <bool stream> void put_64(const Triple& c, uint8_t* bgr) noexcept
{
    for (size_t part = 0; part < 3; ++part) {
        const __m512i index = index_of(kBlueGreen[part]);
        const __m512i two = _mm512_permutex2var_epi8(c.b, index, c.g);
        const __m512i all = _mm512_mask_permutexvar_epi8(two, kReds[part], index, c.r);
        if constexpr (stream)
            _mm512_stream_si512(reinterpret_cast<__m512i*>(bgr + 64 * part), all);
        else
            _mm512_storeu_si512(bgr + 64 * part, all);
    }
}

inline Triple get_64(const uint8_t* bgr) noexcept
{
    const __m512i parts[] = {load(bgr), load(bgr + 64), load(bgr + 128)};
    __m512i out[3];
    for (size_t c = 0; c < 3; ++c) {
        const __m512i index = index_of(kChannel[c]);
        out[c] = _mm512_mask_permutexvar_epi8(_mm512_permutex2var_epi8(parts[0], index, parts[1]), kInThird[c], index,
                                              parts[2]);
    }
    return {out[0], out[1], out[2]};
}

inline __m512i widen(const uint8_t* from) noexcept
{
    return _mm512_cvtepu8_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(from)));
}

/// The weights of two rows in all lanes.
struct Blended {
    __m512i own, other;

    explicit Blended(const RowBlend& blend) noexcept
        : own(_mm512_set1_epi16(static_cast<int16_t>(blend.own_weight))),
          other(_mm512_set1_epi16(static_cast<int16_t>(blend.other_weight)))
    {}
    __m512i of(__m512i a, __m512i b) const noexcept
    {
        return _mm512_add_epi16(_mm512_mullo_epi16(a, own), _mm512_mullo_epi16(b, other));
    }
};

void blend(const uint8_t* own, const uint8_t* other, const RowBlend& blend, uint16_t* to, size_t n) noexcept
{
    const Blended weights(blend);
    size_t i = 0;
    for (; i + 32 <= n; i += 32)
        _mm512_storeu_si512(to + i, weights.of(widen(own + i), widen(other + i)));
    blend_loop(own + i, other + i, blend, to + i, n - i);
}

/// A pair is a word: the first sample its lower byte.
void blend_pairs(const uint8_t* own, const uint8_t* other, const RowBlend& blend, uint16_t* first, uint16_t* second,
                 size_t n) noexcept
{
    const Blended weights(blend);
    const __m512i low = _mm512_set1_epi16(0xFF);
    size_t i = 0;
    for (; i + 32 <= n; i += 32) {
        fetch_ahead(own + 2 * i);
        const __m512i a = load(own + 2 * i), b = load(other + 2 * i);
        _mm512_storeu_si512(first + i, weights.of(_mm512_and_si512(a, low), _mm512_and_si512(b, low)));
        _mm512_storeu_si512(second + i, weights.of(_mm512_srli_epi16(a, 8), _mm512_srli_epi16(b, 8)));
    }
    blend_pairs_loop(own + 2 * i, other + 2 * i, blend, first + i, second + i, n - i);
}

/// The factors in all lanes.
struct Factors {
    __m512i black, y, ub, ug, vg, vr;

    explicit Factors(const ToBytes& f) noexcept
        : black(_mm512_set1_epi16(static_cast<int16_t>(f.black))), y(_mm512_set1_epi16(f.y)),
          ub(_mm512_set1_epi16(f.ub)), ug(_mm512_set1_epi16(f.ug)), vg(_mm512_set1_epi16(f.vg)),
          vr(_mm512_set1_epi16(f.vr))
    {}
};

/// 32 pixels, as 16-bit channels that are still to be cut.
inline Triple colors_32(const uint8_t* y, const uint16_t* u, const uint16_t* v, const Factors& f) noexcept
{
    const __m512i middle = _mm512_set1_epi16(INT16_MIN);
    const __m512i half = _mm512_set1_epi16(32);
    const __m512i luma = _mm512_cvtepu8_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(y)));
    const __m512i level = _mm512_mulhrs_epi16(_mm512_slli_epi16(_mm512_sub_epi16(luma, f.black), 7), f.y);
    const __m512i d = _mm512_sub_epi16(load(u), middle); // wraps, as it should
    const __m512i e = _mm512_sub_epi16(load(v), middle);
    const auto cut = [&](__m512i sum) noexcept { return _mm512_srai_epi16(_mm512_adds_epi16(sum, half), 6); };
    return {cut(_mm512_adds_epi16(level, _mm512_mulhrs_epi16(d, f.ub))),
            cut(_mm512_sub_epi16(_mm512_sub_epi16(level, _mm512_mulhrs_epi16(d, f.ug)), _mm512_mulhrs_epi16(e, f.vg))),
            cut(_mm512_adds_epi16(level, _mm512_mulhrs_epi16(e, f.vr)))};
}

inline __m512i narrow(__m512i low, __m512i high) noexcept
{
    const __m512i order = _mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7);
    return _mm512_permutexvar_epi64(order, _mm512_packus_epi16(low, high));
}

template <bool stream>
size_t to_bgr_64(const uint8_t* y, const uint16_t* u, const uint16_t* v, size_t n, const Factors& f,
                 uint8_t* bgr) noexcept
{
    size_t x = 0;
    for (; x + 64 <= n; x += 64) {
        fetch_ahead(y + x);
        const Triple low = colors_32(y + x, u + x, v + x, f);
        const Triple high = colors_32(y + x + 32, u + x + 32, v + x + 32, f);
        put_64<stream>({narrow(low.b, high.b), narrow(low.g, high.g), narrow(low.r, high.r)}, bgr + 3 * x);
    }
    return x;
}

void to_bgr(const uint8_t* y, const uint16_t* u, const uint16_t* v, size_t n, const ToBytes& f, uint8_t* bgr,
            bool stream) noexcept
{
    const bool is_aligned = reinterpret_cast<uintptr_t>(bgr) % 64 == 0;
    const Factors factors(f);
    const size_t x =
        stream && is_aligned ? to_bgr_64<true>(y, u, v, n, factors, bgr) : to_bgr_64<false>(y, u, v, n, factors, bgr);
    to_bgr_loop(y + x, u + x, v + x, n - x, f, bgr + 3 * x, false);
}

void split(const uint8_t* bgr, size_t n, uint8_t* b, uint8_t* g, uint8_t* r) noexcept
{
    size_t x = 0;
    for (; x + 64 <= n; x += 64) {
        for (size_t line = 0; line < 3; ++line)
            fetch_ahead(bgr + 3 * x + 64 * line);
        const Triple c = get_64(bgr + 3 * x);
        _mm512_storeu_si512(b + x, c.b);
        _mm512_storeu_si512(g + x, c.g);
        _mm512_storeu_si512(r + x, c.r);
    }
    split_loop(bgr + 3 * x, n - x, b + x, g + x, r + x);
}

/// Two 16-bit factors for pairs of samples.
inline __m512i pair_of(int32_t low, int32_t high) noexcept
{
    return _mm512_set1_epi32(
        static_cast<int32_t>(static_cast<uint32_t>(low & 0xFFFF) | static_cast<uint32_t>(high) << 16));
}

/// Luma of 32 pixels as 16-bit samples; full-range factors of green may take all of 15 bits, no more.
inline __m512i luma_32(const uint8_t* b, const uint8_t* g, const uint8_t* r, __m512i bg, __m512i ro,
                       __m512i black) noexcept
{
    const __m512i blue = widen(b), green = widen(g), red = widen(r);
    const __m512i one = _mm512_set1_epi16(1);
    const auto half = [&](__m512i first, __m512i second) noexcept {
        return _mm512_srai_epi32(_mm512_add_epi32(_mm512_madd_epi16(first, bg), _mm512_madd_epi16(second, ro)), 15);
    };
    const __m512i low = half(_mm512_unpacklo_epi16(blue, green), _mm512_unpacklo_epi16(red, one));
    const __m512i high = half(_mm512_unpackhi_epi16(blue, green), _mm512_unpackhi_epi16(red, one));
    return _mm512_add_epi16(_mm512_packs_epi32(low, high), black);
}

void luma(const uint8_t* b, const uint8_t* g, const uint8_t* r, size_t n, const FromBytes& f, uint8_t* y) noexcept
{
    const __m512i bg = pair_of(f.y.b, f.y.g);
    const __m512i ro = pair_of(f.y.r, 1 << 14);
    const __m512i black = _mm512_set1_epi16(static_cast<int16_t>(f.black));
    size_t x = 0;
    for (; x + 64 <= n; x += 64)
        _mm512_storeu_si512(y + x, narrow(luma_32(b + x, g + x, r + x, bg, ro, black),
                                          luma_32(b + x + 32, g + x + 32, r + x + 32, bg, ro, black)));
    luma_loop(b + x, g + x, r + x, n - x, f, y + x);
}

/// A sample for each pixel.
size_t chroma_single(const uint16_t* b, const uint16_t* g, const uint16_t* r, size_t n, const FromBytes& f, uint8_t* u,
                     uint8_t* v) noexcept
{
    const __m512i one = _mm512_set1_epi16(1);
    const __m512i neutral = _mm512_set1_epi16(static_cast<int16_t>(f.neutral));
    const Difference both[] = {{f.u, u}, {f.v, v}};
    size_t k = 0;
    for (; k + 32 <= n; k += 32) {
        const __m512i blue = load(b + k), green = load(g + k), red = load(r + k);
        const __m512i bg[] = {_mm512_unpacklo_epi16(blue, green), _mm512_unpackhi_epi16(blue, green)};
        const __m512i ro[] = {_mm512_unpacklo_epi16(red, one), _mm512_unpackhi_epi16(red, one)};
        for (const Difference& d : both) {
            const __m512i first = pair_of(d.weights.b, d.weights.g), second = pair_of(d.weights.r, 1 << 14);
            const auto half = [&](size_t i) noexcept {
                return _mm512_srai_epi32(
                    _mm512_add_epi32(_mm512_madd_epi16(bg[i], first), _mm512_madd_epi16(ro[i], second)), 15);
            };
            const __m512i words = _mm512_add_epi16(_mm512_packs_epi32(half(0), half(1)), neutral);
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(d.to + k), _mm512_castsi512_si256(narrow(words, words)));
        }
    }
    return k;
}

void chroma(const uint16_t* b, const uint16_t* g, const uint16_t* r, size_t n, const Siting& siting, const FromBytes& f,
            int32_t shift, uint8_t* u, uint8_t* v) noexcept
{
    const size_t k = siting.step == 1 && shift == 0 ? chroma_single(b, g, r, n, f, u, v) : 0;
    const size_t at = k * static_cast<size_t>(siting.step);
    chroma_loop<int32_t, uint16_t, uint8_t>(b + at, g + at, r + at, n - k, siting, f, shift, u + k, v + k);
}

} // namespace

const Kernels kKernels_avx512{Level::avx512, blend,    blend_pairs, spread_loop<uint16_t>, to_bgr,        split,
                              luma,          add_loop, chroma,      interleave_loop,       &kFused_avx512};

} // namespace vk::yuv
