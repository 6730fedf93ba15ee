// Transposing what needs shuffles: pixels of three and six bytes are spread to four and eight, pixels of 2 to 7 bits to
// bytes.
#include "kernel/view/Blocks.h"
#include "kernel/view/Tile.h"

#include <immintrin.h>

namespace vk::turn {

namespace {

/// Four by four pixels of 48 bits, whose rows are two loads that overlap.
void transpose_48(const uint8_t* from, ptrdiff_t stride, uint8_t* to, ptrdiff_t pitch) noexcept
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
        store_vector(to + pitch, _mm_shuffle_epi8(_mm_unpackhi_epi64(a, b), gather));
        store_vector(to + 2 * pitch, _mm_shuffle_epi8(_mm_unpacklo_epi64(c, d), gather));
        store_vector(to + 3 * pitch, _mm_shuffle_epi8(_mm_unpackhi_epi64(c, d), gather));
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

/// Four columns, eight rows of 24 bits. Each row is read as 16 bytes that end with its last pixel, or begin with its
/// first where that would be in front of the row.
template <bool kAtEnd> void transpose_24(const uint8_t* from, ptrdiff_t stride, uint8_t* to, ptrdiff_t pitch) noexcept
{
    constexpr char s = kAtEnd ? 4 : 0;
    const __m256i spread = _mm256_broadcastsi128_si256(_mm_setr_epi8(
        s, s + 1, s + 2, -1, s + 3, s + 4, s + 5, -1, s + 6, s + 7, s + 8, -1, s + 9, s + 10, s + 11, -1));
    const __m256i gather =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1));
    const __m256i closed = _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7);
    __m256i rows[4];
    from -= s;
    for (int i = 0; i < 4; ++i)
        rows[i] = _mm256_shuffle_epi8(load_pair(from + i * stride, from + (i + 4) * stride), spread);
    transpose_squares<4>(rows);
    for (int i = 0; i < 4; ++i)
        store_wide(to + i * pitch, _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(rows[i], gather), closed));
}

template <int kBytes>
void transpose_one(const uint8_t* from, ptrdiff_t stride, uint8_t* to, ptrdiff_t pitch, bool is_first) noexcept
{
    if constexpr (kBytes == 6)
        transpose_48(from, stride, to, pitch);
    else if constexpr (kBytes != 3)
        transpose_block<kBytes>(from, stride, to, pitch);
    else if (is_first)
        transpose_24<false>(from, stride, to, pitch);
    else
        transpose_24<true>(from, stride, to, pitch);
}

/// Rows of a block one after the other. In a picture whose rows are some pages apart they would share one set of the
/// first cache, which does not hold as many lines as a block of small pixels has rows.
class BlockRows {
public:
    static constexpr int32_t kWide = 256;
    static constexpr ptrdiff_t kPitch = kWide + 64;

    const uint8_t* take(const uint8_t* from, ptrdiff_t stride, int32_t rows, int32_t bytes) noexcept
    {
        for (int32_t row = 0; row < rows; ++row, from += stride) {
            uint8_t* const to = rows_ + row * kPitch;
            int32_t at = 0;
            for (; at + 32 <= bytes; at += 32)
                store_wide(to + at, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from + at)));
            if (at < bytes)
                std::memcpy(to + at, from + at, static_cast<size_t>(bytes - at));
        }
        return rows_;
    }

private:
    alignas(64) uint8_t rows_[32 * kPitch];
};

/// The blocks of a tile, row by row. Each has its share of the lines of the next tile fetched: a row of blocks takes
/// all lines of its rows once.
template <int kBytes> void transpose_blocks(const Tile& tile) noexcept
{
    constexpr BlockSize kBlock = avx2_block(8 * kBytes);
    constexpr int32_t kWide = kBlock.columns * kBytes;
    constexpr int32_t kLine = 64;
    BlockRows taken;
    for (int32_t row = 0; row + kBlock.rows <= tile.rows; row += kBlock.rows) {
        const uint8_t* from = tile.from + row * tile.stride;
        ptrdiff_t stride = tile.stride;
        const uint8_t* fetched = from + tile.ahead;
        if constexpr (kBlock.rows >= 16) {
            from = taken.take(from, stride, kBlock.rows, tile.columns * kBytes);
            stride = BlockRows::kPitch;
        }
        int32_t fetched_row = 0;
        for (int32_t column = 0; column + kBlock.columns <= tile.columns; column += kBlock.columns) {
            if (tile.ahead != 0)
                for (int32_t bytes = 0; bytes < kWide * kBlock.rows; bytes += kLine) {
                    _mm_prefetch(reinterpret_cast<const char*>(fetched + fetched_row * tile.stride), _MM_HINT_T0);
                    if (++fetched_row == kBlock.rows) {
                        fetched_row = 0;
                        fetched += kLine;
                    }
                }
            transpose_one<kBytes>(from + column * kBytes, stride, tile.to + column * tile.pitch + row * kBytes,
                                  tile.pitch, column == 0);
        }
    }
}

template <bool kStream> void copy_rows(const Lines& lines) noexcept
{
    const uint8_t* from = lines.from;
    uint8_t* to = lines.to;
    for (int32_t row = 0; row < lines.rows; ++row, from += lines.pitch, to += lines.stride) {
        size_t at = 0;
        for (; at + 32 <= lines.bytes; at += 32) {
            const __m256i bytes = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from + at));
            if constexpr (kStream)
                _mm256_stream_si256(reinterpret_cast<__m256i*>(to + at), bytes);
            else
                store_wide(to + at, bytes);
        }
        if constexpr (!kStream)
            if (at < lines.bytes)
                std::memcpy(to + at, from + at, lines.bytes - at);
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
        return transpose_blocks<1>(tile);
    case 16:
        return transpose_blocks<2>(tile);
    case 24:
        return transpose_blocks<3>(tile);
    case 32:
        return transpose_blocks<4>(tile);
    case 48:
        return transpose_blocks<6>(tile);
    case 64:
        return transpose_blocks<8>(tile);
    default:
        return; // has no block
    }
}

void copy_lines_avx2(const Lines& lines, bool stream) noexcept
{
    return stream ? copy_rows<true>(lines) : copy_rows<false>(lines);
}

void transpose_bits_avx2(const uint8_t* from, ptrdiff_t stride, uint8_t* to, ptrdiff_t pitch) noexcept
{
    // In each byte of the result the first row is the highest bit, in a vector's mask the last lane is.
    __m256i rows[16];
    for (int i = 0; i < 16; ++i) {
        const uint8_t* const row = from + (i / 8 * 8 + 7 - i % 8) * stride;
        rows[i] = load_pair(row, row + 16 * stride);
    }
    transpose_squares<1>(rows);
    for (__m256i byte : rows)
        for (int bit = 0; bit < 8; ++bit, to += pitch) {
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
