// What the loops of both widths (Fused.h, and those of DIBs) need of vectors of 64 bytes; for the files compiled for
// these only. Bytes are permuted across all of a register.
#pragma once

#include <cstddef>
#include <cstdint>
#include <immintrin.h>

namespace vk::yuv {

namespace {

struct Bytes64 {
    uint8_t at[64];
};
struct Lanes {
    uint32_t at[16];
};

/// Packing two registers of words puts eight of each by turns into lanes of 16 bytes; so pixel p of even ones and odd
/// ones is here.
consteval uint8_t packed_place(size_t p) noexcept
{
    return static_cast<uint8_t>(p / 16 * 16 + p % 16 / 2 + (p % 2 == 0 ? 0 : 8));
}

/// For each byte of part `part` of 192 bytes of pixels, the place of its pixel.
consteval Bytes64 pixel_places(size_t part) noexcept
{
    Bytes64 index{};
    for (size_t i = 0; i < 64; ++i)
        index.at[i] = packed_place((64 * part + i) / 3);
    return index;
}

/// The bytes of a part that are of channel `c`.
consteval uint64_t in_part(size_t part, size_t c) noexcept
{
    uint64_t mask = 0;
    for (size_t i = 0; i < 64; ++i)
        mask |= (64 * part + i) % 3 == c ? uint64_t{1} << i : 0;
    return mask;
}

/// 16 pixels of three bytes, `before` bytes behind a load's first: a channel as lower bytes of lanes' words.
consteval Bytes64 channel_words(size_t before, bool is_red) noexcept
{
    Bytes64 index{};
    for (size_t i = 0; i < 64; ++i)
        index.at[i] = static_cast<uint8_t>(before + i / 4 * 3 + (is_red ? 2 : i % 4 / 2));
    return index;
}

/// Packing twice turns four registers of lanes by a quarter: lane q is here.
consteval uint32_t turned_place(uint32_t q) noexcept
{
    return 4 * (q % 4) + q / 4;
}

consteval Lanes in_order_index() noexcept
{
    Lanes index{};
    for (uint32_t q = 0; q < 16; ++q)
        index.at[q] = turned_place(q);
    return index;
}

/// Quarters of 16 bytes of both halves by turns, as unpacking wants them.
consteval uint32_t for_unpacking(uint32_t q) noexcept
{
    return q / 4 * 2 + q % 2 + (q % 4 < 2 ? 0 : 8);
}

consteval Lanes mixed_luma_index() noexcept
{
    Lanes index{};
    for (uint32_t q = 0; q < 16; ++q)
        index.at[q] = turned_place(for_unpacking(q));
    return index;
}

/// Where byte b of 32 pairs comes from: four samples of the first and the second difference are in lanes of their own.
consteval uint8_t pair_place(size_t b) noexcept
{
    const size_t sample = b / 2;
    return static_cast<uint8_t>(sample % 16 / 4 * 16 + (b % 2 == 0 ? 0 : 8) + sample / 16 * 4 + sample % 4);
}

consteval Bytes64 pairs_index() noexcept
{
    Bytes64 index{};
    for (size_t b = 0; b < 64; ++b)
        index.at[b] = pair_place(b);
    return index;
}

consteval Bytes64 mixed_chroma_index() noexcept
{
    Bytes64 index{};
    for (size_t b = 0; b < 64; ++b)
        index.at[b] = pair_place(4 * for_unpacking(static_cast<uint32_t>(b / 4)) + b % 4);
    return index;
}

consteval Lanes every_other(uint32_t first) noexcept
{
    Lanes index{};
    for (uint32_t i = 0; i < 16; ++i)
        index.at[i] = 2 * i + first;
    return index;
}

constexpr Bytes64 kPixelPlaces[] = {pixel_places(0), pixel_places(1), pixel_places(2)};
constexpr uint64_t kGreen[] = {in_part(0, 1), in_part(1, 1), in_part(2, 1)};
constexpr uint64_t kRed[] = {in_part(0, 2), in_part(1, 2), in_part(2, 2)};
/// The last 16 of 64 pixels are loaded from 16 bytes before them, so that nothing behind them is.
constexpr Bytes64 kBlueGreenWords[] = {channel_words(0, false), channel_words(16, false)};
constexpr Bytes64 kRedWords[] = {channel_words(0, true), channel_words(16, true)};
constexpr uint64_t kLowBytes = 0x5555555555555555, kLowestBytes = 0x1111111111111111;
constexpr Lanes kInOrder = in_order_index(), kMixedLuma = mixed_luma_index();
constexpr Lanes kEven = every_other(0), kOdd = every_other(1);
constexpr Bytes64 kPairs = pairs_index(), kMixedChroma = mixed_chroma_index();
constexpr __mmask8 kAllQuads = 0xFF;
constexpr __mmask16 kAll = 0xFFFF; // compilers warn of what forms without a mask leave undefined

template <class Index> __m512i index_of(const Index& index) noexcept
{
    return _mm512_loadu_si512(index.at);
}

struct Vectors {
    using Reg = __m512i;
    static constexpr size_t kBytes = 64;
    static constexpr size_t kPixels = 64;

    struct Places {
        __m128i count;
        explicit Places(int32_t shift) noexcept : count(_mm_cvtsi32_si128(shift)) {}
    };

    static Reg load(const void* from) noexcept { return _mm512_loadu_si512(from); }
    static Reg words(int32_t value) noexcept { return _mm512_set1_epi16(static_cast<int16_t>(value)); }
    static Reg dwords(int32_t value) noexcept { return _mm512_set1_epi32(value); }
    static Reg low_bytes(Reg a) noexcept { return _mm512_and_si512(a, words(0xFF)); }
    static Reg high_bytes(Reg a) noexcept { return _mm512_andnot_si512(words(0xFF), a); }
    static Reg exclusive_or(Reg a, Reg b) noexcept { return _mm512_xor_si512(a, b); }
    static Reg add(Reg a, Reg b) noexcept { return _mm512_add_epi16(a, b); }
    static Reg add_cut(Reg a, Reg b) noexcept { return _mm512_adds_epi16(a, b); }
    static Reg sub(Reg a, Reg b) noexcept { return _mm512_sub_epi16(a, b); }
    static Reg add_dwords(Reg a, Reg b) noexcept { return _mm512_add_epi32(a, b); }
    static Reg high_product(Reg a, Reg b) noexcept { return _mm512_mulhrs_epi16(a, b); }
    static Reg pair_products(Reg a, Reg b) noexcept { return _mm512_madd_epi16(a, b); }
    template <unsigned places> static Reg left(Reg a) noexcept { return _mm512_slli_epi16(a, places); }
    template <unsigned places> static Reg right(Reg a) noexcept { return _mm512_srli_epi16(a, places); }
    template <unsigned places> static Reg right_signed(Reg a) noexcept { return _mm512_srai_epi16(a, places); }
    template <unsigned places> static Reg right_dwords(Reg a) noexcept
    {
        return _mm512_maskz_srai_epi32(kAll, a, places);
    }
    static Reg left_by(Reg a, const Places& places) noexcept { return _mm512_sll_epi16(a, places.count); }
    static Reg multiply(Reg a, int32_t by) noexcept { return _mm512_mullo_epi16(a, words(by)); }
    static Reg high_unsigned(Reg a, int32_t by) noexcept { return _mm512_mulhi_epu16(a, words(by)); }
    static Reg both_bits(Reg a, Reg b) noexcept { return _mm512_and_si512(a, b); }
    template <bool kHigh> static Reg pairs_of(Reg a, Reg b) noexcept
    {
        return kHigh ? _mm512_unpackhi_epi16(a, b) : _mm512_unpacklo_epi16(a, b);
    }
    static Reg widen(const uint8_t* from) noexcept
    {
        return _mm512_cvtepu8_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(from)));
    }
    /// Every other 16 bytes of two registers, so that packing those with the others keeps the order.
    static Reg even_quarters(Reg a, Reg b) noexcept { return _mm512_maskz_shuffle_i64x2(kAllQuads, a, b, 0x88); }
    static Reg odd_quarters(Reg a, Reg b) noexcept { return _mm512_maskz_shuffle_i64x2(kAllQuads, a, b, 0xDD); }
    static Reg pack_words(Reg a, Reg b) noexcept { return _mm512_packs_epi32(a, b); }
    static Reg pack_bytes(Reg a, Reg b) noexcept { return _mm512_packus_epi16(a, b); }

    /// The lower words of lanes of 32 bits, or the upper ones, which are bytes.
    static Reg pack_low_words(Reg a, Reg b) noexcept
    {
        return _mm512_packus_epi32(_mm512_and_si512(a, dwords(0xFFFF)), _mm512_and_si512(b, dwords(0xFFFF)));
    }
    static Reg pack_high_words(Reg a, Reg b) noexcept
    {
        return _mm512_packus_epi32(_mm512_maskz_srli_epi32(kAll, a, 16), _mm512_maskz_srli_epi32(kAll, b, 16));
    }
    static Reg packed_in_order(Reg a) noexcept
    {
        return _mm512_permutexvar_epi64(_mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7), a);
    }

    /// Has memory that is needed soon fetched: the processor's own fetching ends with each page, which rows often are.
    static void fetch_ahead(const uint8_t* at) noexcept
    {
        constexpr uintptr_t kAhead = 2048; // a number: it may lie behind the memory
        __builtin_prefetch(reinterpret_cast<const void*>(reinterpret_cast<uintptr_t>(at) + kAhead));
    }

    static void put(Reg bytes, uint8_t* to, bool stream) noexcept
    {
        if (stream)
            _mm512_stream_si512(reinterpret_cast<__m512i*>(to), bytes);
        else
            _mm512_storeu_si512(to, bytes);
    }
    static void put_halves(Reg both, uint8_t* first, uint8_t* second, bool stream) noexcept
    {
        const __m256i low = _mm512_castsi512_si256(both), high = _mm512_extracti64x4_epi64(both, 1);
        if (stream) {
            _mm256_stream_si256(reinterpret_cast<__m256i*>(first), low);
            _mm256_stream_si256(reinterpret_cast<__m256i*>(second), high);
        } else {
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(first), low);
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(second), high);
        }
    }

    /// 64 pixels, even ones and odd ones packed, channel by channel.
    static void put_bgr(Reg b, Reg g, Reg r, uint8_t* bgr, bool stream) noexcept
    {
        for (size_t part = 0; part < 3; ++part) {
            const Reg index = index_of(kPixelPlaces[part]);
            const Reg two = _mm512_mask_permutexvar_epi8(_mm512_permutexvar_epi8(index, b), kGreen[part], index, g);
            put(_mm512_mask_permutexvar_epi8(two, kRed[part], index, r), bgr + 64 * part, stream);
        }
    }
    static void get_bgr(const uint8_t* bgr, Reg (&bg)[4], Reg (&r)[4]) noexcept
    {
        for (size_t i = 0; i < 4; ++i) {
            const bool is_last = i == 3;
            const Reg bytes = load(bgr + 48 * i - (is_last ? 16 : 0));
            bg[i] = _mm512_maskz_permutexvar_epi8(kLowBytes, index_of(kBlueGreenWords[is_last]), bytes);
            r[i] = _mm512_maskz_permutexvar_epi8(kLowestBytes, index_of(kRedWords[is_last]), bytes);
        }
    }

    static Reg even_dwords(Reg a, Reg b) noexcept { return _mm512_permutex2var_epi32(a, index_of(kEven), b); }
    static Reg odd_dwords(Reg a, Reg b) noexcept { return _mm512_permutex2var_epi32(a, index_of(kOdd), b); }
    /// The lanes one further up, the last of `before` as the first.
    static Reg shifted_in(Reg before, Reg a) noexcept { return _mm512_maskz_alignr_epi32(kAll, a, before, 15); }
    static Reg in_order(Reg a) noexcept { return _mm512_maskz_permutexvar_epi32(kAll, index_of(kInOrder), a); }
    static Reg as_pairs(Reg a) noexcept { return _mm512_permutexvar_epi8(index_of(kPairs), a); }
    static void put_mixed(Reg luma, Reg chroma, bool luma_first, uint8_t* to, bool stream) noexcept
    {
        const Reg y = _mm512_maskz_permutexvar_epi32(kAll, index_of(kMixedLuma), luma);
        const Reg c = _mm512_permutexvar_epi8(index_of(kMixedChroma), chroma);
        const Reg first = luma_first ? y : c, second = luma_first ? c : y;
        put(_mm512_unpacklo_epi8(first, second), to, stream);
        put(_mm512_unpackhi_epi8(first, second), to + 64, stream);
    }
};

} // namespace

} // namespace vk::yuv
