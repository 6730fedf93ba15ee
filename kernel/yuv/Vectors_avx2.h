// What the loops of both widths (Fused.h, and those of DIBs) need of vectors of 32 bytes; for the files compiled for
// these only. Bytes are shuffled within 16 of them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <immintrin.h>

namespace vk::yuv {

namespace {

struct Bytes16 {
    uint8_t at[16];
};
constexpr uint8_t kClear = 0x80;

/// For each byte of part `part` of 48 bytes of pixels, the place of its pixel among even and odd ones packed, if it is
/// of channel `c`.
consteval Bytes16 pixel_places(size_t part, size_t c) noexcept
{
    Bytes16 index{};
    for (size_t i = 0; i < 16; ++i) {
        const size_t at = 16 * part + i, p = at / 3;
        index.at[i] = at % 3 == c ? static_cast<uint8_t>(p / 2 + (p % 2 == 0 ? 0 : 8)) : kClear;
    }
    return index;
}

/// Four pixels of three bytes, `before` bytes behind a load's first: blue and green, or red, as words.
consteval Bytes16 channel_words(size_t before, bool is_red) noexcept
{
    Bytes16 index{};
    for (size_t i = 0; i < 16; ++i)
        index.at[i] =
            i % (is_red ? 4 : 2) != 0 ? kClear : static_cast<uint8_t>(before + i / 4 * 3 + (is_red ? 2 : i % 4 / 2));
    return index;
}

constexpr Bytes16 kPixelPlaces[3][3] = {{pixel_places(0, 0), pixel_places(0, 1), pixel_places(0, 2)},
                                        {pixel_places(1, 0), pixel_places(1, 1), pixel_places(1, 2)},
                                        {pixel_places(2, 0), pixel_places(2, 1), pixel_places(2, 2)}};
/// The last four of 32 pixels are loaded from four bytes before them, so that nothing behind them is.
constexpr Bytes16 kBlueGreenWords[] = {channel_words(0, false), channel_words(4, false)};
constexpr Bytes16 kRedWords[] = {channel_words(0, true), channel_words(4, true)};
/// Four samples of the first difference and of the second, and the four next to each, as pairs.
constexpr Bytes16 kPairs = {{0, 8, 1, 9, 2, 10, 3, 11, 4, 12, 5, 13, 6, 14, 7, 15}};

__m128i load_16(const void* from) noexcept
{
    return _mm_loadu_si128(static_cast<const __m128i*>(from));
}

__m256i twice(const Bytes16& index) noexcept
{
    return _mm256_broadcastsi128_si256(load_16(index.at));
}

__m256i both(__m128i low, __m128i high) noexcept
{
    return _mm256_inserti128_si256(_mm256_castsi128_si256(low), high, 1);
}

struct Vectors {
    using Reg = __m256i;
    static constexpr size_t kBytes = 32;
    static constexpr size_t kPixels = 32;

    struct Places {
        __m128i count;
        explicit Places(int32_t shift) noexcept : count(_mm_cvtsi32_si128(shift)) {}
    };

    static Reg load(const void* from) noexcept { return _mm256_loadu_si256(static_cast<const __m256i*>(from)); }
    static Reg words(int32_t value) noexcept { return _mm256_set1_epi16(static_cast<int16_t>(value)); }
    static Reg dwords(int32_t value) noexcept { return _mm256_set1_epi32(value); }
    static Reg low_bytes(Reg a) noexcept { return _mm256_and_si256(a, words(0xFF)); }
    static Reg high_bytes(Reg a) noexcept { return _mm256_andnot_si256(words(0xFF), a); }
    static Reg exclusive_or(Reg a, Reg b) noexcept { return _mm256_xor_si256(a, b); }
    static Reg add(Reg a, Reg b) noexcept { return _mm256_add_epi16(a, b); }
    static Reg add_cut(Reg a, Reg b) noexcept { return _mm256_adds_epi16(a, b); }
    static Reg sub(Reg a, Reg b) noexcept { return _mm256_sub_epi16(a, b); }
    static Reg add_dwords(Reg a, Reg b) noexcept { return _mm256_add_epi32(a, b); }
    static Reg high_product(Reg a, Reg b) noexcept { return _mm256_mulhrs_epi16(a, b); }
    static Reg pair_products(Reg a, Reg b) noexcept { return _mm256_madd_epi16(a, b); }
    template <int places> static Reg left(Reg a) noexcept { return _mm256_slli_epi16(a, places); }
    template <int places> static Reg right(Reg a) noexcept { return _mm256_srli_epi16(a, places); }
    template <int places> static Reg right_signed(Reg a) noexcept { return _mm256_srai_epi16(a, places); }
    template <int places> static Reg right_dwords(Reg a) noexcept { return _mm256_srai_epi32(a, places); }
    static Reg left_by(Reg a, const Places& places) noexcept { return _mm256_sll_epi16(a, places.count); }
    static Reg multiply(Reg a, int32_t by) noexcept { return _mm256_mullo_epi16(a, words(by)); }
    static Reg high_unsigned(Reg a, int32_t by) noexcept { return _mm256_mulhi_epu16(a, words(by)); }
    static Reg both_bits(Reg a, Reg b) noexcept { return _mm256_and_si256(a, b); }
    template <bool kHigh> static Reg pairs_of(Reg a, Reg b) noexcept
    {
        return kHigh ? _mm256_unpackhi_epi16(a, b) : _mm256_unpacklo_epi16(a, b);
    }
    static Reg widen(const uint8_t* from) noexcept { return _mm256_cvtepu8_epi16(load_16(from)); }
    /// Every other 16 bytes of two registers, so that packing those with the others keeps the order.
    static Reg even_quarters(Reg a, Reg b) noexcept { return _mm256_permute2x128_si256(a, b, 0x20); }
    static Reg odd_quarters(Reg a, Reg b) noexcept { return _mm256_permute2x128_si256(a, b, 0x31); }
    static Reg pack_words(Reg a, Reg b) noexcept { return _mm256_packs_epi32(a, b); }
    static Reg pack_bytes(Reg a, Reg b) noexcept { return _mm256_packus_epi16(a, b); }

    /// The lower words of lanes of 32 bits, or the upper ones, which are bytes.
    static Reg pack_low_words(Reg a, Reg b) noexcept
    {
        return _mm256_packus_epi32(_mm256_and_si256(a, dwords(0xFFFF)), _mm256_and_si256(b, dwords(0xFFFF)));
    }
    static Reg pack_high_words(Reg a, Reg b) noexcept
    {
        return _mm256_packus_epi32(_mm256_srli_epi32(a, 16), _mm256_srli_epi32(b, 16));
    }
    static Reg packed_in_order(Reg a) noexcept { return _mm256_permute4x64_epi64(a, _MM_SHUFFLE(3, 1, 2, 0)); }

    static void fetch_ahead(const uint8_t* at) noexcept
    {
        constexpr uintptr_t kAhead = 2048; // a number: it may lie behind the memory
        __builtin_prefetch(reinterpret_cast<const void*>(reinterpret_cast<uintptr_t>(at) + kAhead));
    }

    static void put(Reg bytes, uint8_t* to, bool stream) noexcept
    {
        if (stream)
            _mm256_stream_si256(reinterpret_cast<__m256i*>(to), bytes);
        else
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), bytes);
    }
    static void put_half(__m128i bytes, uint8_t* to, bool stream) noexcept
    {
        if (stream)
            _mm_stream_si128(reinterpret_cast<__m128i*>(to), bytes);
        else
            _mm_storeu_si128(reinterpret_cast<__m128i*>(to), bytes);
    }
    static void put_halves(Reg all, uint8_t* first, uint8_t* second, bool stream) noexcept
    {
        put_half(_mm256_castsi256_si128(all), first, stream);
        put_half(_mm256_extracti128_si256(all, 1), second, stream);
    }

    /// 32 pixels, even ones and odd ones packed, channel by channel.
    static void put_bgr(Reg b, Reg g, Reg r, uint8_t* bgr, bool stream) noexcept
    {
        const auto part = [&](size_t i) noexcept {
            const auto& places = kPixelPlaces[i];
            return _mm256_or_si256(
                _mm256_or_si256(_mm256_shuffle_epi8(b, twice(places[0])), _mm256_shuffle_epi8(g, twice(places[1]))),
                _mm256_shuffle_epi8(r, twice(places[2])));
        };
        const Reg parts[] = {part(0), part(1), part(2)};
        put(_mm256_permute2x128_si256(parts[0], parts[1], 0x20), bgr, stream);
        put(_mm256_permute2x128_si256(parts[2], parts[0], 0x30), bgr + 32, stream);
        put(_mm256_permute2x128_si256(parts[1], parts[2], 0x31), bgr + 64, stream);
    }
    static void get_bgr(const uint8_t* bgr, Reg (&bg)[4], Reg (&r)[4]) noexcept
    {
        for (size_t i = 0; i < 4; ++i) {
            const size_t before = i == 3 ? 4 : 0;
            const Reg bytes = both(load_16(bgr + 24 * i), load_16(bgr + 24 * i + 12 - before));
            const bool is_last = before != 0;
            bg[i] =
                _mm256_shuffle_epi8(bytes, both(load_16(kBlueGreenWords[0].at), load_16(kBlueGreenWords[is_last].at)));
            r[i] = _mm256_shuffle_epi8(bytes, both(load_16(kRedWords[0].at), load_16(kRedWords[is_last].at)));
        }
    }

    static Reg even_dwords(Reg a, Reg b) noexcept { return every_other<_MM_SHUFFLE(2, 0, 2, 0)>(a, b); }
    static Reg odd_dwords(Reg a, Reg b) noexcept { return every_other<_MM_SHUFFLE(3, 1, 3, 1)>(a, b); }
    /// The lanes one further up, the last of `before` as the first.
    static Reg shifted_in(Reg before, Reg a) noexcept
    {
        return _mm256_alignr_epi8(a, _mm256_permute2x128_si256(before, a, 0x21), 12);
    }
    /// Packing twice turned four registers of lanes.
    static Reg in_order(Reg a) noexcept
    {
        return _mm256_permutevar8x32_epi32(a, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
    }
    static Reg as_pairs(Reg a) noexcept
    {
        return _mm256_permute4x64_epi64(_mm256_shuffle_epi8(a, twice(kPairs)), _MM_SHUFFLE(3, 1, 2, 0));
    }
    static void put_mixed(Reg luma, Reg chroma, bool luma_first, uint8_t* to, bool stream) noexcept
    {
        const Reg y = _mm256_permutevar8x32_epi32(luma, _mm256_setr_epi32(0, 4, 2, 6, 1, 5, 3, 7));
        const Reg c = _mm256_shuffle_epi8(chroma, twice(kPairs));
        const Reg first = luma_first ? y : c, second = luma_first ? c : y;
        put(_mm256_unpacklo_epi8(first, second), to, stream);
        put(_mm256_unpackhi_epi8(first, second), to + 32, stream);
    }

private:
    template <int kWhich> static Reg every_other(Reg a, Reg b) noexcept
    {
        const __m256 lanes = _mm256_shuffle_ps(_mm256_castsi256_ps(a), _mm256_castsi256_ps(b), kWhich);
        return _mm256_permute4x64_epi64(_mm256_castps_si256(lanes), _MM_SHUFFLE(3, 1, 2, 0));
    }
};

} // namespace

} // namespace vk::yuv
