// The loops for vectors of 32 bytes; what Kernels_avx512.cpp does by permutations is shuffles of 16 bytes here.
#include "kernel/yuv/Kernels.h"
#include "kernel/yuv/Loops.h"

#include <array>
#include <immintrin.h>

namespace vk::yuv {

namespace {

using Bytes16 = std::array<uint8_t, 16>;
constexpr uint8_t kClear = 0x80;

/// Where byte i of part `part` of 48 bytes of pixels comes from in 16 bytes of channel `c`, if it is one of these.
consteval Bytes16 from_channel(size_t part, size_t c) noexcept
{
    Bytes16 index{};
    for (size_t i = 0; i < 16; ++i)
        index[i] = (16 * part + i) % 3 == c ? static_cast<uint8_t>((16 * part + i) / 3) : kClear;
    return index;
}

/// The other way round.
consteval Bytes16 from_part(size_t part, size_t c) noexcept
{
    Bytes16 index{};
    for (size_t i = 0; i < 16; ++i)
        index[i] = (3 * i + c) / 16 == part ? static_cast<uint8_t>((3 * i + c) % 16) : kClear;
    return index;
}

constexpr Bytes16 kFromChannel[3][3] = {{from_channel(0, 0), from_channel(0, 1), from_channel(0, 2)},
                                        {from_channel(1, 0), from_channel(1, 1), from_channel(1, 2)},
                                        {from_channel(2, 0), from_channel(2, 1), from_channel(2, 2)}};
constexpr Bytes16 kFromPart[3][3] = {{from_part(0, 0), from_part(0, 1), from_part(0, 2)},
                                     {from_part(1, 0), from_part(1, 1), from_part(1, 2)},
                                     {from_part(2, 0), from_part(2, 1), from_part(2, 2)}};

inline __m128i load_16(const void* from) noexcept
{
    return _mm_loadu_si128(static_cast<const __m128i*>(from));
}

inline __m256i load(const void* from) noexcept
{
    return _mm256_loadu_si256(static_cast<const __m256i*>(from));
}

inline __m256i widen(const uint8_t* from) noexcept
{
    return _mm256_cvtepu8_epi16(load_16(from));
}

/// The weights of two rows in all lanes.
struct Blended {
    __m256i own, other;

    explicit Blended(const RowBlend& blend) noexcept
        : own(_mm256_set1_epi16(static_cast<int16_t>(blend.own_weight))),
          other(_mm256_set1_epi16(static_cast<int16_t>(blend.other_weight)))
    {}
    __m256i of(__m256i a, __m256i b) const noexcept
    {
        return _mm256_add_epi16(_mm256_mullo_epi16(a, own), _mm256_mullo_epi16(b, other));
    }
};

inline void store(void* to, __m256i words) noexcept
{
    _mm256_storeu_si256(static_cast<__m256i*>(to), words);
}

void blend(const uint8_t* own, const uint8_t* other, const RowBlend& blend, uint16_t* to, size_t n) noexcept
{
    const Blended weights(blend);
    size_t i = 0;
    for (; i + 16 <= n; i += 16)
        store(to + i, weights.of(widen(own + i), widen(other + i)));
    blend_loop(own + i, other + i, blend, to + i, n - i);
}

/// A pair is a word: the first sample its lower byte.
void blend_pairs(const uint8_t* own, const uint8_t* other, const RowBlend& blend, uint16_t* first, uint16_t* second,
                 size_t n) noexcept
{
    const Blended weights(blend);
    const __m256i low = _mm256_set1_epi16(0xFF);
    size_t i = 0;
    for (; i + 16 <= n; i += 16) {
        const __m256i a = load(own + 2 * i), b = load(other + 2 * i);
        store(first + i, weights.of(_mm256_and_si256(a, low), _mm256_and_si256(b, low)));
        store(second + i, weights.of(_mm256_srli_epi16(a, 8), _mm256_srli_epi16(b, 8)));
    }
    blend_pairs_loop(own + 2 * i, other + 2 * i, blend, first + i, second + i, n - i);
}

template <bool stream> void put_16(__m128i b, __m128i g, __m128i r, uint8_t* bgr) noexcept
{
    for (size_t part = 0; part < 3; ++part) {
        const __m128i all = _mm_or_si128(_mm_or_si128(_mm_shuffle_epi8(b, load_16(kFromChannel[part][0].data())),
                                                      _mm_shuffle_epi8(g, load_16(kFromChannel[part][1].data()))),
                                         _mm_shuffle_epi8(r, load_16(kFromChannel[part][2].data())));
        if constexpr (stream)
            _mm_stream_si128(reinterpret_cast<__m128i*>(bgr + 16 * part), all);
        else
            _mm_storeu_si128(reinterpret_cast<__m128i*>(bgr + 16 * part), all);
    }
}

inline __m128i narrow(__m256i words) noexcept
{
    return _mm256_castsi256_si128(_mm256_permute4x64_epi64(_mm256_packus_epi16(words, words), _MM_SHUFFLE(3, 1, 2, 0)));
}

template <bool stream>
size_t to_bgr_16(const uint8_t* y, const uint16_t* u, const uint16_t* v, size_t n, const ToBytes& f,
                 uint8_t* bgr) noexcept
{
    const __m256i black = _mm256_set1_epi16(static_cast<int16_t>(f.black));
    const __m256i fy = _mm256_set1_epi16(f.y), ub = _mm256_set1_epi16(f.ub), ug = _mm256_set1_epi16(f.ug);
    const __m256i vg = _mm256_set1_epi16(f.vg), vr = _mm256_set1_epi16(f.vr);
    const __m256i middle = _mm256_set1_epi16(INT16_MIN), half = _mm256_set1_epi16(32);
    const auto cut = [&](__m256i sum) noexcept { return narrow(_mm256_srai_epi16(_mm256_adds_epi16(sum, half), 6)); };
    size_t x = 0;
    for (; x + 16 <= n; x += 16) {
        const __m256i level = _mm256_mulhrs_epi16(_mm256_slli_epi16(_mm256_sub_epi16(widen(y + x), black), 7), fy);
        const __m256i d = _mm256_sub_epi16(load(u + x), middle);
        const __m256i e = _mm256_sub_epi16(load(v + x), middle);
        const __m256i green =
            _mm256_sub_epi16(_mm256_sub_epi16(level, _mm256_mulhrs_epi16(d, ug)), _mm256_mulhrs_epi16(e, vg));
        put_16<stream>(cut(_mm256_adds_epi16(level, _mm256_mulhrs_epi16(d, ub))), cut(green),
                       cut(_mm256_adds_epi16(level, _mm256_mulhrs_epi16(e, vr))), bgr + 3 * x);
    }
    return x;
}

void to_bgr(const uint8_t* y, const uint16_t* u, const uint16_t* v, size_t n, const ToBytes& f, uint8_t* bgr,
            bool stream) noexcept
{
    const bool is_aligned = reinterpret_cast<uintptr_t>(bgr) % 16 == 0;
    const size_t x = stream && is_aligned ? to_bgr_16<true>(y, u, v, n, f, bgr) : to_bgr_16<false>(y, u, v, n, f, bgr);
    to_bgr_loop(y + x, u + x, v + x, n - x, f, bgr + 3 * x, false);
}

void split(const uint8_t* bgr, size_t n, uint8_t* b, uint8_t* g, uint8_t* r) noexcept
{
    uint8_t* const rows[] = {b, g, r};
    size_t x = 0;
    for (; x + 16 <= n; x += 16) {
        const __m128i parts[] = {load_16(bgr + 3 * x), load_16(bgr + 3 * x + 16), load_16(bgr + 3 * x + 32)};
        for (size_t c = 0; c < 3; ++c) {
            const __m128i all = _mm_or_si128(_mm_or_si128(_mm_shuffle_epi8(parts[0], load_16(kFromPart[0][c].data())),
                                                          _mm_shuffle_epi8(parts[1], load_16(kFromPart[1][c].data()))),
                                             _mm_shuffle_epi8(parts[2], load_16(kFromPart[2][c].data())));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(rows[c] + x), all);
        }
    }
    split_loop(bgr + 3 * x, n - x, b + x, g + x, r + x);
}

inline __m256i pair_of(int32_t low, int32_t high) noexcept
{
    return _mm256_set1_epi32(
        static_cast<int32_t>(static_cast<uint32_t>(low & 0xFFFF) | static_cast<uint32_t>(high) << 16));
}

void luma(const uint8_t* b, const uint8_t* g, const uint8_t* r, size_t n, const FromBytes& f, uint8_t* y) noexcept
{
    const __m256i bg = pair_of(f.y.b, f.y.g);
    const __m256i ro = pair_of(f.y.r, 1 << 14);
    const __m256i black = _mm256_set1_epi16(static_cast<int16_t>(f.black));
    const __m256i one = _mm256_set1_epi16(1);
    const auto half = [&](__m256i first, __m256i second) noexcept {
        return _mm256_srai_epi32(_mm256_add_epi32(_mm256_madd_epi16(first, bg), _mm256_madd_epi16(second, ro)), 15);
    };
    size_t x = 0;
    for (; x + 16 <= n; x += 16) {
        const __m256i blue = widen(b + x), green = widen(g + x), red = widen(r + x);
        const __m256i low = half(_mm256_unpacklo_epi16(blue, green), _mm256_unpacklo_epi16(red, one));
        const __m256i high = half(_mm256_unpackhi_epi16(blue, green), _mm256_unpackhi_epi16(red, one));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(y + x),
                         narrow(_mm256_add_epi16(_mm256_packs_epi32(low, high), black)));
    }
    luma_loop(b + x, g + x, r + x, n - x, f, y + x);
}

} // namespace

const Kernels kKernels_avx2{Level::avx2,
                            blend,
                            blend_pairs,
                            spread_loop<uint16_t>,
                            to_bgr,
                            split,
                            luma,
                            add_loop,
                            chroma_loop<int32_t, uint16_t, uint8_t>,
                            interleave_loop,
                            &kFused_avx2};

} // namespace vk::yuv
