// Transposing what needs shuffles: pixels of three and six bytes are spread to four and eight, pixels of 2 to 7 bits to
// bytes.
#include "common/turn/Blocks.h"
#include "common/turn/Tile.h"

#include <immintrin.h>

namespace vk::turn {

namespace {

constexpr auto kPitch = static_cast<ptrdiff_t>(kTilePitch);

/// Four by four pixels of 24 bits. Each row is read as 16 bytes that end with its last pixel, or begin with its first
/// where that would be in front of the row.
template <bool kAtEnd> void transpose_24(const uint8_t* from, ptrdiff_t stride, uint8_t* to) noexcept
{
    const char s = kAtEnd ? 4 : 0;
    const __m128i spread = _mm_setr_epi8(
        s, static_cast<char>(s + 1), static_cast<char>(s + 2), -1, static_cast<char>(s + 3), static_cast<char>(s + 4),
        static_cast<char>(s + 5), -1, static_cast<char>(s + 6), static_cast<char>(s + 7), static_cast<char>(s + 8), -1,
        static_cast<char>(s + 9), static_cast<char>(s + 10), static_cast<char>(s + 11), -1);
    const __m128i gather = _mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1);
    const uint8_t* const first = from - s;
    const __m128i a = _mm_shuffle_epi8(load_vector(first), spread);
    const __m128i b = _mm_shuffle_epi8(load_vector(first + stride), spread);
    const __m128i c = _mm_shuffle_epi8(load_vector(first + 2 * stride), spread);
    const __m128i d = _mm_shuffle_epi8(load_vector(first + 3 * stride), spread);
    const __m128i ab = _mm_unpacklo_epi32(a, b);
    const __m128i cd = _mm_unpacklo_epi32(c, d);
    const __m128i ab_high = _mm_unpackhi_epi32(a, b);
    const __m128i cd_high = _mm_unpackhi_epi32(c, d);
    store_vector(to, _mm_shuffle_epi8(_mm_unpacklo_epi64(ab, cd), gather));
    store_vector(to + kPitch, _mm_shuffle_epi8(_mm_unpackhi_epi64(ab, cd), gather));
    store_vector(to + 2 * kPitch, _mm_shuffle_epi8(_mm_unpacklo_epi64(ab_high, cd_high), gather));
    store_vector(to + 3 * kPitch, _mm_shuffle_epi8(_mm_unpackhi_epi64(ab_high, cd_high), gather));
}

/// Four by four pixels of 48 bits, whose rows are two loads that overlap.
void transpose_48(const uint8_t* from, ptrdiff_t stride, uint8_t* to) noexcept
{
    const __m128i front = _mm_setr_epi8(0, 1, 2, 3, 4, 5, -1, -1, 6, 7, 8, 9, 10, 11, -1, -1);
    const __m128i back = _mm_setr_epi8(4, 5, 6, 7, 8, 9, -1, -1, 10, 11, 12, 13, 14, 15, -1, -1);
    const __m128i gather = _mm_setr_epi8(0, 1, 2, 3, 4, 5, 8, 9, 10, 11, 12, 13, -1, -1, -1, -1);
    for (int half = 0; half < 2; ++half, from += 2 * stride, to += 12) {
        const __m128i a = _mm_shuffle_epi8(load_vector(from), front);
        const __m128i b = _mm_shuffle_epi8(load_vector(from + stride), front);
        const __m128i c = _mm_shuffle_epi8(load_vector(from + 8), back);
        const __m128i d = _mm_shuffle_epi8(load_vector(from + stride + 8), back);
        store_vector(to, _mm_shuffle_epi8(_mm_unpacklo_epi64(a, b), gather));
        store_vector(to + kPitch, _mm_shuffle_epi8(_mm_unpackhi_epi64(a, b), gather));
        store_vector(to + 2 * kPitch, _mm_shuffle_epi8(_mm_unpacklo_epi64(c, d), gather));
        store_vector(to + 3 * kPitch, _mm_shuffle_epi8(_mm_unpackhi_epi64(c, d), gather));
    }
}

__m256i load_pair(const uint8_t* low, const uint8_t* high) noexcept
{
    return _mm256_inserti128_si256(_mm256_castsi128_si256(load_vector(low)), load_vector(high), 1);
}

void store_wide(uint8_t* to, __m256i value) noexcept
{
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), value);
}

template <int kBytes> __m256i interleaved_low(__m256i a, __m256i b) noexcept
{
    if constexpr (kBytes == 1)
        return _mm256_unpacklo_epi8(a, b);
    else if constexpr (kBytes == 2)
        return _mm256_unpacklo_epi16(a, b);
    else if constexpr (kBytes == 4)
        return _mm256_unpacklo_epi32(a, b);
    else
        return _mm256_unpacklo_epi64(a, b);
}

template <int kBytes> __m256i interleaved_high(__m256i a, __m256i b) noexcept
{
    if constexpr (kBytes == 1)
        return _mm256_unpackhi_epi8(a, b);
    else if constexpr (kBytes == 2)
        return _mm256_unpackhi_epi16(a, b);
    else if constexpr (kBytes == 4)
        return _mm256_unpackhi_epi32(a, b);
    else
        return _mm256_unpackhi_epi64(a, b);
}

/// Transposes squares of pixels in both halves of the vectors at once.
template <int kBytes> void transpose_squares(__m256i (&rows)[16 / kBytes]) noexcept
{
    constexpr int kCount = 16 / kBytes;
    for (int width = 1; width < kCount; width *= 2) {
        __m256i next[kCount];
        for (int i = 0; i < kCount / 2; ++i) {
            next[2 * i] = interleaved_low<kBytes>(rows[i], rows[i + kCount / 2]);
            next[2 * i + 1] = interleaved_high<kBytes>(rows[i], rows[i + kCount / 2]);
        }
        for (int i = 0; i < kCount; ++i)
            rows[i] = next[i];
    }
}

/// Columns as many as fill 16 bytes, rows twice that many.
template <int kBytes> void transpose_block(const uint8_t* from, ptrdiff_t stride, uint8_t* to, ptrdiff_t pitch) noexcept
{
    constexpr int kCount = 16 / kBytes;
    __m256i rows[kCount];
    for (int i = 0; i < kCount; ++i)
        rows[i] = load_pair(from + i * stride, from + (i + kCount) * stride);
    transpose_squares<kBytes>(rows);
    for (int i = 0; i < kCount; ++i)
        store_wide(to + i * pitch, rows[i]);
}

template <int kBytes> void transpose_even(const Tile& tile) noexcept
{
    constexpr int32_t kColumns = 16 / kBytes;
    for (int32_t row = 0; row + 2 * kColumns <= tile.rows; row += 2 * kColumns)
        for (int32_t column = 0; column + kColumns <= tile.columns; column += kColumns)
            transpose_block<kBytes>(tile.from + row * tile.stride + column * kBytes, tile.stride,
                                    tile.to + column * kPitch + row * kBytes, kPitch);
}

void transpose_odd(const Tile& tile, int32_t bits) noexcept
{
    const int32_t bytes = bits / 8;
    for (int32_t row = 0; row + kOddSide <= tile.rows; row += kOddSide)
        for (int32_t column = 0; column + kOddSide <= tile.columns; column += kOddSide) {
            const uint8_t* const from = tile.from + row * tile.stride + column * bytes;
            uint8_t* const to = tile.to + column * kPitch + row * bytes;
            if (bits == 48)
                transpose_48(from, tile.stride, to);
            else if (column == 0)
                transpose_24<false>(from, tile.stride, to);
            else
                transpose_24<true>(from, tile.stride, to);
        }
}

/// Eight bytes with those bits set that a pixel takes.
template <int kBits> constexpr uint64_t kMask = ((uint64_t{1} << kBits) - 1) * 0x0101010101010101u;

template <int kBits> uint64_t spread_word(uint64_t word) noexcept
{
    return __builtin_bswap64(_pdep_u64(__builtin_bswap64(word) >> (64 - 8 * kBits), kMask<kBits>));
}

template <int kBits> uint64_t gather_word(uint64_t word) noexcept
{
    return __builtin_bswap64(_pext_u64(__builtin_bswap64(word), kMask<kBits>) << (64 - 8 * kBits));
}

template <int kBits> void spread(const uint8_t* from, uint8_t* to, int32_t count) noexcept
{
    uint64_t word = 0;
    for (; count * kBits >= 64; count -= 8, from += kBits, to += 8) {
        std::memcpy(&word, from, sizeof word);
        word = spread_word<kBits>(word);
        std::memcpy(to, &word, sizeof word);
    }
    for (; count > 0; count -= 8, from += kBits, to += 8) {
        const int32_t pixels = count < 8 ? count : 8;
        word = 0;
        for (int32_t i = 0; i < (pixels * kBits + 7) / 8; ++i) // one store that the load takes from would wait for it
            word |= uint64_t{from[i]} << (8 * i);
        word = spread_word<kBits>(word);
        std::memcpy(to, &word, static_cast<size_t>(pixels));
    }
}

template <int kBits> void gather(const uint8_t* from, uint8_t* to, int32_t count) noexcept
{
    uint64_t word = 0;
    for (; count >= 8; count -= 8, from += 8, to += kBits) {
        std::memcpy(&word, from, sizeof word);
        word = gather_word<kBits>(word);
        std::memcpy(to, &word, kBits);
    }
    word = 0;
    std::memcpy(&word, from, static_cast<size_t>(count));
    word = gather_word<kBits>(word);
    std::memcpy(to, &word, static_cast<size_t>((count * kBits + 7) / 8));
}

using MovePixels = void(const uint8_t* from, uint8_t* to, int32_t count) noexcept;
constexpr MovePixels* kSpread[] = {spread<2>, spread<3>, spread<4>, spread<5>, spread<6>, spread<7>};
constexpr MovePixels* kGather[] = {gather<2>, gather<3>, gather<4>, gather<5>, gather<6>, gather<7>};

} // namespace

void transpose_avx2(const Tile& tile, int32_t bits) noexcept
{
    switch (bits) {
    case 8:
        return transpose_even<1>(tile);
    case 16:
        return transpose_even<2>(tile);
    case 32:
        return transpose_even<4>(tile);
    case 64:
        return transpose_even<8>(tile);
    default:
        return transpose_odd(tile, bits);
    }
}

void transpose_bits_avx2(const uint8_t* from, ptrdiff_t stride, uint8_t* to) noexcept
{
    // In each byte of the result the first row is the highest bit, in a vector's mask the last lane is.
    __m256i rows[16];
    for (int i = 0; i < 16; ++i) {
        const uint8_t* const row = from + (i / 8 * 8 + 7 - i % 8) * stride;
        rows[i] = load_pair(row, row + 16 * stride);
    }
    transpose_squares<1>(rows);
    for (__m256i byte : rows)
        for (int bit = 0; bit < 8; ++bit, to += kPitch) {
            const int mask = _mm256_movemask_epi8(byte);
            std::memcpy(to, &mask, sizeof mask);
            byte = _mm256_add_epi8(byte, byte);
        }
}

void spread_avx2(const uint8_t* from, uint8_t* to, int32_t count, int32_t bits) noexcept
{
    kSpread[bits - 2](from, to, count);
}

void gather_avx2(const uint8_t* from, uint8_t* to, int32_t count, int32_t bits) noexcept
{
    kGather[bits - 2](from, to, count);
}

int32_t spread12_avx2(const uint8_t* from, uint8_t* to, int32_t count) noexcept
{
    const __m128i pairs = _mm_setr_epi8(0, 1, 1, 2, 3, 4, 4, 5, 6, 7, 7, 8, 9, 10, 10, 11);
    const __m128i low = _mm_set1_epi16(0xFFF);
    int32_t done = 0;
    for (; (count - done) * 3 >= 32; done += 8) {
        const __m128i bytes = _mm_shuffle_epi8(load_vector(from + done / 2 * 3), pairs);
        store_vector(to + 2 * done, _mm_blend_epi16(_mm_and_si128(bytes, low), _mm_srli_epi16(bytes, 4), 0xAA));
    }
    return done;
}

int32_t gather12_avx2(const uint8_t* from, uint8_t* to, int32_t count) noexcept
{
    const __m128i shifts = _mm_set1_epi32(1 | 1 << 28); // odd pixels times 4096
    const __m128i packed = _mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1);
    int32_t done = 0;
    for (; (count - done) * 3 >= 32; done += 8)
        store_vector(to + done / 2 * 3, _mm_shuffle_epi8(_mm_madd_epi16(load_vector(from + 2 * done), shifts), packed));
    return done;
}

} // namespace vk::turn
