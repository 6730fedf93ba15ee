// Fused paths for AVX2. A 24-bit row is taken eight pixels at a time, four in each half of a register, and spread to a
// double word per pixel by a byte shuffle; everything else follows from there.
#include "kernel/convert/Fused.h"

#include <immintrin.h>

namespace vk::pixel {
namespace {

__m256i twice(__m128i half) noexcept
{
    return _mm256_broadcastsi128_si256(half);
}

__m128i load16(const uint8_t* at) noexcept
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
}
__m256i load32(const uint8_t* at) noexcept
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(at));
}
void store32(uint8_t* at, __m256i v) noexcept
{
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(at), v);
}

/// Stores that may go past the caches, to addresses that are then multiples of their size.
template <bool Stream> void put32(uint8_t* at, __m256i v) noexcept
{
    auto* to = reinterpret_cast<__m256i*>(at);
    Stream ? _mm256_stream_si256(to, v) : _mm256_storeu_si256(to, v);
}

template <bool Stream> void put16(uint8_t* at, __m128i v) noexcept
{
    auto* to = reinterpret_cast<__m128i*>(at);
    Stream ? _mm_stream_si128(to, v) : _mm_storeu_si128(to, v);
}

/// Eight 24-bit pixels, twelve bytes in each half. Reads four bytes too many.
__m256i load_24(const uint8_t* at) noexcept
{
    return _mm256_inserti128_si256(_mm256_castsi128_si256(load16(at)), load16(at + 12), 1);
}

/// Shuffles from twelve bytes to four double words with a clear top byte, and back; with the ends of a pixel exchanged.
__m256i spread() noexcept
{
    return twice(_mm_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1));
}
__m256i spread_swap() noexcept
{
    return twice(_mm_setr_epi8(2, 1, 0, -1, 5, 4, 3, -1, 8, 7, 6, -1, 11, 10, 9, -1));
}
__m256i gather() noexcept
{
    return twice(_mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1));
}
__m256i gather_swap() noexcept
{
    return twice(_mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1));
}

/// Stores the twelve bytes of both halves. Writes eight bytes too many.
void store_24(uint8_t* at, __m256i halves) noexcept
{
    store32(at, _mm256_permutevar8x32_epi32(halves, _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7)));
}

template <bool Stream> void widen_24(const uint8_t* src, uint8_t* dst, size_t count, __m256i shuffle) noexcept
{
    const __m256i alpha = _mm256_set1_epi32(static_cast<int>(0xFF000000u));
    for (; count != 0; count -= 8, src += 24, dst += 32) {
        simd::fetch_ahead<Stream, 24>(src);
        put32<Stream>(dst, _mm256_or_si256(_mm256_shuffle_epi8(load_24(src), shuffle), alpha));
    }
}

void narrow_32(const uint8_t* src, uint8_t* dst, size_t count, __m256i shuffle) noexcept
{
    for (; count != 0; count -= 8, src += 32, dst += 24) {
        store_24(dst, _mm256_shuffle_epi8(load32(src), shuffle));
    }
}

/// Eight times the gray of eight pixels, in double words. `weights` holds 1, 5, 2, 0 in the order of the bytes: sums of
/// two stay below 2040, so the signed arithmetic is exact.
__m256i weigh(__m256i pixels, __m256i weights) noexcept
{
    const __m256i pairs = _mm256_maddubs_epi16(pixels, weights);
    return _mm256_madd_epi16(pairs, _mm256_set1_epi16(1));
}

__m256i weights_bgr() noexcept
{
    return _mm256_set1_epi32(0x00020501);
}
__m256i weights_rgb() noexcept
{
    return _mm256_set1_epi32(0x00010502);
}

/// 32 grays, in order, from four registers of eightfold ones. The multiplication is an eighth, rounded.
__m256i pack_grays(__m256i a, __m256i b, __m256i c, __m256i d) noexcept
{
    const __m256i eighth = _mm256_set1_epi16(4096);
    const __m256i bytes = _mm256_packus_epi16(_mm256_mulhrs_epi16(_mm256_packs_epi32(a, b), eighth),
                                              _mm256_mulhrs_epi16(_mm256_packs_epi32(c, d), eighth));
    return _mm256_permutevar8x32_epi32(bytes, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
}

template <bool Stream> void gray_of_24(const uint8_t* src, uint8_t* dst, size_t count, __m256i weights) noexcept
{
    const __m256i shuffle = spread();
    const auto gray = [&](size_t offset) noexcept {
        return weigh(_mm256_shuffle_epi8(load_24(src + offset), shuffle), weights);
    };
    for (; count != 0; count -= 32, src += 96, dst += 32) {
        simd::fetch_ahead<Stream, 96>(src);
        put32<Stream>(dst, pack_grays(gray(0), gray(24), gray(48), gray(72)));
    }
}

template <bool Stream> void gray_of_32(const uint8_t* src, uint8_t* dst, size_t count, __m256i weights) noexcept
{
    const auto gray = [&](size_t offset) noexcept { return weigh(load32(src + offset), weights); };
    for (; count != 0; count -= 32, src += 128, dst += 32) {
        simd::fetch_ahead<Stream, 128>(src);
        put32<Stream>(dst, pack_grays(gray(0), gray(32), gray(64), gray(96)));
    }
}

/// The part of a field that moves right by `Right` and stays within `mask`.
template <int Right> __m256i field(__m256i v, uint32_t mask) noexcept
{
    return _mm256_and_si256(_mm256_srli_epi32(v, Right), _mm256_set1_epi32(static_cast<int>(mask)));
}

template <int Left> __m256i field_up(__m256i v, uint32_t mask) noexcept
{
    return _mm256_and_si256(_mm256_slli_epi32(v, Left), _mm256_set1_epi32(static_cast<int>(mask)));
}

__m256i any_of(__m256i a, __m256i b, __m256i c) noexcept
{
    return _mm256_or_si256(_mm256_or_si256(a, b), c);
}

/// Words with six or five bits of green from double words of blue, green, red.
template <bool Green6> __m256i to_fields(__m256i v) noexcept
{
    return Green6 ? any_of(field<3>(v, 0x1F), field<5>(v, 0x7E0), field<8>(v, 0xF800))
                  : any_of(field<3>(v, 0x1F), field<6>(v, 0x3E0), field<9>(v, 0x7C00));
}

template <bool Stream, bool Green6>
void pack_words(const uint8_t* src, uint8_t* dst, size_t count, __m256i shuffle) noexcept
{
    const auto words = [&](size_t offset) noexcept {
        return to_fields<Green6>(_mm256_shuffle_epi8(load_24(src + offset), shuffle));
    };
    for (; count != 0; count -= 16, src += 48, dst += 32) {
        put32<Stream>(dst, _mm256_permute4x64_epi64(_mm256_packus_epi32(words(0), words(24)), 0xD8));
    }
}

/// Double words of blue, green, red from words: the bits of a field, then its top bits again.
template <bool Green6> __m256i from_fields(__m256i v) noexcept
{
    const __m256i blue = _mm256_or_si256(field_up<3>(v, 0xF8), field<2>(v, 0x07));
    if constexpr (Green6) {
        const __m256i green = _mm256_or_si256(field_up<5>(v, 0xFC00), field<1>(v, 0x300));
        return any_of(blue, green, _mm256_or_si256(field_up<8>(v, 0xF80000), field_up<3>(v, 0x70000)));
    } else {
        const __m256i green = _mm256_or_si256(field_up<6>(v, 0xF800), field_up<1>(v, 0x700));
        return any_of(blue, green, _mm256_or_si256(field_up<9>(v, 0xF80000), field_up<4>(v, 0x70000)));
    }
}

template <bool Green6> void unpack_words(const uint8_t* src, uint8_t* dst, size_t count, __m256i shuffle) noexcept
{
    for (; count != 0; count -= 8, src += 16, dst += 24) {
        const __m256i words = _mm256_cvtepu16_epi32(load16(src));
        store_24(dst, _mm256_shuffle_epi8(from_fields<Green6>(words), shuffle));
    }
}

template <bool Stream> void c24_to_32(const Plan&, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    widen_24<Stream>(src, dst, count, spread());
}

template <bool Stream> void c24_to_32_swap(const Plan&, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    widen_24<Stream>(src, dst, count, spread_swap());
}

void c24_swap(const Plan&, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    const __m256i shuffle = twice(_mm_setr_epi8(2, 1, 0, 5, 4, 3, 8, 7, 6, 11, 10, 9, -1, -1, -1, -1));
    for (; count != 0; count -= 8, src += 24, dst += 24) {
        store_24(dst, _mm256_shuffle_epi8(load_24(src), shuffle));
    }
}

void c32_to_24(const Plan&, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    narrow_32(src, dst, count, gather());
}

void c32_to_24_swap(const Plan&, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    narrow_32(src, dst, count, gather_swap());
}

template <bool Stream> void c32_swap(const Plan&, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    const __m256i shuffle = twice(_mm_setr_epi8(2, 1, 0, 3, 6, 5, 4, 7, 10, 9, 8, 11, 14, 13, 12, 15));
    for (; count != 0; count -= 8, src += 32, dst += 32) {
        simd::fetch_ahead<Stream, 32>(src);
        put32<Stream>(dst, _mm256_shuffle_epi8(load32(src), shuffle));
    }
}

template <bool Stream> void bgr24_to_gray8(const Plan&, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    gray_of_24<Stream>(src, dst, count, weights_bgr());
}

template <bool Stream> void rgb24_to_gray8(const Plan&, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    gray_of_24<Stream>(src, dst, count, weights_rgb());
}

template <bool Stream> void bgr32_to_gray8(const Plan&, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    gray_of_32<Stream>(src, dst, count, weights_bgr());
}

template <bool Stream> void rgb32_to_gray8(const Plan&, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    gray_of_32<Stream>(src, dst, count, weights_rgb());
}

template <bool Stream> void gray8_to_24(const Plan&, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    const __m128i first = _mm_setr_epi8(0, 0, 0, 1, 1, 1, 2, 2, 2, 3, 3, 3, 4, 4, 4, 5);
    const __m128i second = _mm_setr_epi8(5, 5, 6, 6, 6, 7, 7, 7, 8, 8, 8, 9, 9, 9, 10, 10);
    const __m128i third = _mm_setr_epi8(10, 11, 11, 11, 12, 12, 12, 13, 13, 13, 14, 14, 14, 15, 15, 15);
    for (; count != 0; count -= 16, src += 16, dst += 48) {
        simd::fetch_ahead<Stream, 16>(src);
        const __m128i gray = load16(src);
        put16<Stream>(dst, _mm_shuffle_epi8(gray, first));
        put16<Stream>(dst + 16, _mm_shuffle_epi8(gray, second));
        put16<Stream>(dst + 32, _mm_shuffle_epi8(gray, third));
    }
}

template <bool Stream> void gray8_to_32(const Plan&, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    const __m256i shuffle = _mm256_setr_epi8(0, 0, 0, -1, 1, 1, 1, -1, 2, 2, 2, -1, 3, 3, 3, -1, //
                                             4, 4, 4, -1, 5, 5, 5, -1, 6, 6, 6, -1, 7, 7, 7, -1);
    const __m256i alpha = _mm256_set1_epi32(static_cast<int>(0xFF000000u));
    for (; count != 0; count -= 8, src += 8, dst += 32) {
        simd::fetch_ahead<Stream, 8>(src);
        const __m128i gray = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(src));
        put32<Stream>(dst, _mm256_or_si256(_mm256_shuffle_epi8(twice(gray), shuffle), alpha));
    }
}

template <bool Stream> void c24_to_48(const Plan&, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    // Times 257 is the byte twice.
    for (size_t bytes = count * 3; bytes != 0; bytes -= 32, src += 32, dst += 64) {
        simd::fetch_ahead<Stream, 32>(src);
        const __m256i v = _mm256_permute4x64_epi64(load32(src), 0xD8);
        put32<Stream>(dst, _mm256_unpacklo_epi8(v, v));
        put32<Stream>(dst + 32, _mm256_unpackhi_epi8(v, v));
    }
}

template <bool Stream> void bgr24_to_565(const Plan&, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    pack_words<Stream, true>(src, dst, count, spread());
}

template <bool Stream> void rgb24_to_565(const Plan&, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    pack_words<Stream, true>(src, dst, count, spread_swap());
}

template <bool Stream> void bgr24_to_555(const Plan&, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    pack_words<Stream, false>(src, dst, count, spread());
}

void r565_to_bgr24(const Plan&, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    unpack_words<true>(src, dst, count, gather());
}

void r565_to_rgb24(const Plan&, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    unpack_words<true>(src, dst, count, gather_swap());
}

void b555_to_bgr24(const Plan&, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    unpack_words<false>(src, dst, count, gather());
}

template <bool Stream> void bit_to_gray8(const Plan& plan, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    const __m256i clear = _mm256_set1_epi8(static_cast<char>(plan.table[0]));
    const __m256i set = _mm256_set1_epi8(static_cast<char>(plan.table[1]));
    const __m256i byte_of = _mm256_setr_epi8(0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1, //
                                             2, 2, 2, 2, 2, 2, 2, 2, 3, 3, 3, 3, 3, 3, 3, 3);
    const __m256i bit_of = _mm256_set1_epi64x(0x0102040810204080);
    for (; count != 0; count -= 32, src += 4, dst += 32) {
        simd::fetch_ahead<Stream, 4>(src);
        int32_t bits;
        __builtin_memcpy(&bits, src, sizeof bits);
        const __m256i bytes = _mm256_shuffle_epi8(_mm256_set1_epi32(bits), byte_of);
        const __m256i is_set = _mm256_cmpeq_epi8(_mm256_and_si256(bytes, bit_of), bit_of);
        put32<Stream>(dst, _mm256_blendv_epi8(clear, set, is_set));
    }
}

void gray8_to_bit(const Plan& plan, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    const __m256i limit = _mm256_set1_epi8(static_cast<char>(plan.table[0]));
    const auto flip = static_cast<uint32_t>(plan.table[1] != 0 ? -1 : 0);
    // The first pixel goes to the top bit of its byte.
    const __m256i backwards = twice(_mm_setr_epi8(7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8));
    for (; count != 0; count -= 32, src += 32, dst += 4) {
        const __m256i gray = _mm256_shuffle_epi8(load32(src), backwards);
        const __m256i reaches = _mm256_cmpeq_epi8(_mm256_max_epu8(gray, limit), gray);
        const uint32_t bits = static_cast<uint32_t>(_mm256_movemask_epi8(reaches)) ^ flip;
        __builtin_memcpy(dst, &bits, sizeof bits);
    }
}

/// Indices to bits: the byte of a table of 256 bits that has an index's, and which of its bits that is.
void byte_to_bit(const Plan& plan, const uint8_t* src, uint8_t* dst, size_t count) noexcept
{
    const __m256i low = twice(_mm_loadu_si128(reinterpret_cast<const __m128i*>(plan.table)));
    const __m256i high = twice(_mm_loadu_si128(reinterpret_cast<const __m128i*>(plan.table + 16)));
    const __m256i bits = _mm256_set1_epi64x(static_cast<int64_t>(0x8040201008040201));
    const __m256i backwards = twice(_mm_setr_epi8(7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8));
    for (; count != 0; count -= 32, src += 32, dst += 4) {
        const __m256i index = _mm256_shuffle_epi8(load32(src), backwards);
        const __m256i at = _mm256_and_si256(_mm256_srli_epi16(index, 3), _mm256_set1_epi8(15));
        // The highest bit of an index tells which half of the table it is in.
        const __m256i eight = _mm256_blendv_epi8(_mm256_shuffle_epi8(low, at), _mm256_shuffle_epi8(high, at), index);
        const __m256i bit = _mm256_shuffle_epi8(bits, _mm256_and_si256(index, _mm256_set1_epi8(7)));
        const __m256i is_set = _mm256_cmpeq_epi8(_mm256_and_si256(eight, bit), bit);
        const auto set = static_cast<uint32_t>(_mm256_movemask_epi8(is_set));
        __builtin_memcpy(dst, &set, sizeof set);
    }
}

constexpr int32_t kBgr = COLORORDER_BGR;
constexpr int32_t kRgb = COLORORDER_RGB;
constexpr int32_t kGray = COLORORDER_GRAY;
constexpr int32_t k565 = COLORORDER_RGB565;

constexpr FusedPath kPaths[] = {
    {"24 to 32, AVX2", 24, kBgr, 32, kBgr, simd::Level::avx2, 8, 4, c24_to_32<false>, c24_to_32<true>, nullptr},
    {"24 to 32, AVX2", 24, kRgb, 32, kRgb, simd::Level::avx2, 8, 4, c24_to_32<false>, c24_to_32<true>, nullptr},
    {"24 to 32 swapped, AVX2", 24, kBgr, 32, kRgb, simd::Level::avx2, 8, 4, c24_to_32_swap<false>, c24_to_32_swap<true>,
     nullptr},
    {"24 to 32 swapped, AVX2", 24, kRgb, 32, kBgr, simd::Level::avx2, 8, 4, c24_to_32_swap<false>, c24_to_32_swap<true>,
     nullptr},
    {"24 swapped, AVX2", 24, kBgr, 24, kRgb, simd::Level::avx2, 8, 8, c24_swap, nullptr, nullptr},
    {"24 swapped, AVX2", 24, kRgb, 24, kBgr, simd::Level::avx2, 8, 8, c24_swap, nullptr, nullptr},
    {"32 to 24, AVX2", 32, kBgr, 24, kBgr, simd::Level::avx2, 8, 8, c32_to_24, nullptr, nullptr},
    {"32 to 24, AVX2", 32, kRgb, 24, kRgb, simd::Level::avx2, 8, 8, c32_to_24, nullptr, nullptr},
    {"32 to 24 swapped, AVX2", 32, kBgr, 24, kRgb, simd::Level::avx2, 8, 8, c32_to_24_swap, nullptr, nullptr},
    {"32 to 24 swapped, AVX2", 32, kRgb, 24, kBgr, simd::Level::avx2, 8, 8, c32_to_24_swap, nullptr, nullptr},
    {"32 swapped, AVX2", 32, kBgr, 32, kRgb, simd::Level::avx2, 8, 0, c32_swap<false>, c32_swap<true>, nullptr},
    {"32 swapped, AVX2", 32, kRgb, 32, kBgr, simd::Level::avx2, 8, 0, c32_swap<false>, c32_swap<true>, nullptr},
    {"24 to gray, AVX2", 24, kBgr, 0, kAnyOrder, simd::Level::avx2, 32, 4, bgr24_to_gray8<false>, bgr24_to_gray8<true>,
     nullptr},
    {"24 to gray, AVX2", 24, kRgb, 0, kAnyOrder, simd::Level::avx2, 32, 4, rgb24_to_gray8<false>, rgb24_to_gray8<true>,
     nullptr},
    {"24 to gray, AVX2", 24, kBgr, 8, kGray, simd::Level::avx2, 32, 4, bgr24_to_gray8<false>, bgr24_to_gray8<true>,
     nullptr},
    {"24 to gray, AVX2", 24, kRgb, 8, kGray, simd::Level::avx2, 32, 4, rgb24_to_gray8<false>, rgb24_to_gray8<true>,
     nullptr},
    {"32 to gray, AVX2", 32, kBgr, 0, kAnyOrder, simd::Level::avx2, 32, 0, bgr32_to_gray8<false>, bgr32_to_gray8<true>,
     nullptr},
    {"32 to gray, AVX2", 32, kRgb, 0, kAnyOrder, simd::Level::avx2, 32, 0, rgb32_to_gray8<false>, rgb32_to_gray8<true>,
     nullptr},
    {"32 to gray, AVX2", 32, kBgr, 8, kGray, simd::Level::avx2, 32, 0, bgr32_to_gray8<false>, bgr32_to_gray8<true>,
     nullptr},
    {"32 to gray, AVX2", 32, kRgb, 8, kGray, simd::Level::avx2, 32, 0, rgb32_to_gray8<false>, rgb32_to_gray8<true>,
     nullptr},
    {"gray to 24, AVX2", 0, kAnyOrder, 24, kBgr, simd::Level::avx2, 16, 0, gray8_to_24<false>, gray8_to_24<true>,
     nullptr},
    {"gray to 32, AVX2", 0, kAnyOrder, 32, kBgr, simd::Level::avx2, 8, 0, gray8_to_32<false>, gray8_to_32<true>,
     nullptr},
    {"gray to 24, AVX2", 0, kAnyOrder, 24, kRgb, simd::Level::avx2, 16, 0, gray8_to_24<false>, gray8_to_24<true>,
     nullptr},
    {"gray to 32, AVX2", 0, kAnyOrder, 32, kRgb, simd::Level::avx2, 8, 0, gray8_to_32<false>, gray8_to_32<true>,
     nullptr},
    {"gray to 24, AVX2", 8, kGray, 24, kBgr, simd::Level::avx2, 16, 0, gray8_to_24<false>, gray8_to_24<true>, nullptr},
    {"gray to 32, AVX2", 8, kGray, 32, kBgr, simd::Level::avx2, 8, 0, gray8_to_32<false>, gray8_to_32<true>, nullptr},
    {"gray to 24, AVX2", 8, kGray, 24, kRgb, simd::Level::avx2, 16, 0, gray8_to_24<false>, gray8_to_24<true>, nullptr},
    {"gray to 32, AVX2", 8, kGray, 32, kRgb, simd::Level::avx2, 8, 0, gray8_to_32<false>, gray8_to_32<true>, nullptr},
    {"24 to 48, AVX2", 24, kBgr, 48, kBgr, simd::Level::avx2, 32, 0, c24_to_48<false>, c24_to_48<true>, nullptr},
    {"24 to 48, AVX2", 24, kRgb, 48, kRgb, simd::Level::avx2, 32, 0, c24_to_48<false>, c24_to_48<true>, nullptr},
    {"24 to 5-6-5, AVX2", 24, kBgr, 16, k565, simd::Level::avx2, 16, 4, bgr24_to_565<false>, bgr24_to_565<true>,
     nullptr},
    {"24 to 5-6-5, AVX2", 24, kRgb, 16, k565, simd::Level::avx2, 16, 4, rgb24_to_565<false>, rgb24_to_565<true>,
     nullptr},
    {"24 to 5-5-5, AVX2", 24, kBgr, 16, kBgr, simd::Level::avx2, 16, 4, bgr24_to_555<false>, bgr24_to_555<true>,
     nullptr},
    {"5-6-5 to 24, AVX2", 16, k565, 24, kBgr, simd::Level::avx2, 8, 8, r565_to_bgr24, nullptr, nullptr},
    {"5-6-5 to 24, AVX2", 16, k565, 24, kRgb, simd::Level::avx2, 8, 8, r565_to_rgb24, nullptr, nullptr},
    {"5-5-5 to 24, AVX2", 16, kBgr, 24, kBgr, simd::Level::avx2, 8, 8, b555_to_bgr24, nullptr, nullptr},
    {"1 to gray, AVX2", 1, kAnyOrder, 0, kAnyOrder, simd::Level::avx2, 32, 0, bit_to_gray8<false>, bit_to_gray8<true>,
     nullptr},
    {"1 to gray, AVX2", 1, kAnyOrder, 8, kGray, simd::Level::avx2, 32, 0, bit_to_gray8<false>, bit_to_gray8<true>,
     nullptr},
    {"gray to 1, AVX2", 0, kAnyOrder, 1, kAnyOrder, simd::Level::avx2, 32, 0, gray8_to_bit, nullptr, find_threshold},
    {"gray to 1, AVX2", 8, kGray, 1, kAnyOrder, simd::Level::avx2, 32, 0, gray8_to_bit, nullptr, find_threshold},
    {"8 to 1, AVX2", 8, kAnyOrder, 1, kAnyOrder, simd::Level::avx2, 32, 0, byte_to_bit, nullptr, find_bits},
};

} // namespace

FusedRows fused_avx2() noexcept
{
    return {kPaths, sizeof kPaths / sizeof kPaths[0]};
}

} // namespace vk::pixel
