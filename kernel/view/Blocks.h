// Square blocks of pixels transposed with the vectors every processor has.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <emmintrin.h>

namespace vk::turn {

inline __m128i load_vector(const uint8_t* from) noexcept
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
}

inline void store_vector(uint8_t* to, __m128i value) noexcept
{
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), value);
}

/// Transposes 16 vectors of 16 bytes.
inline void transpose_16x16(__m128i (&rows)[16]) noexcept
{
    __m128i other[16];
    const auto step = [](const __m128i* from, __m128i* to) noexcept {
        for (int i = 0; i < 8; ++i) {
            to[2 * i] = _mm_unpacklo_epi8(from[i], from[i + 8]);
            to[2 * i + 1] = _mm_unpackhi_epi8(from[i], from[i + 8]);
        }
    };
    step(rows, other);
    step(other, rows);
    step(rows, other);
    step(other, rows);
}

/// Blocks of pixels of a whole number of bytes: one row of it is a vector.
template <int kBytes> struct VectorBlock;

template <> struct VectorBlock<1> {
    static constexpr int32_t kSide = 16;
    static void run(const uint8_t* from, ptrdiff_t stride, uint8_t* to, ptrdiff_t pitch) noexcept
    {
        __m128i rows[16];
        for (int i = 0; i < 16; ++i)
            rows[i] = load_vector(from + i * stride);
        transpose_16x16(rows);
        for (int i = 0; i < 16; ++i)
            store_vector(to + i * pitch, rows[i]);
    }
};

template <> struct VectorBlock<2> {
    static constexpr int32_t kSide = 8;
    static void run(const uint8_t* from, ptrdiff_t stride, uint8_t* to, ptrdiff_t pitch) noexcept
    {
        __m128i rows[8];
        __m128i other[8];
        for (int i = 0; i < 8; ++i)
            rows[i] = load_vector(from + i * stride);
        const auto step = [](const __m128i* in, __m128i* out) noexcept {
            for (int i = 0; i < 4; ++i) {
                out[2 * i] = _mm_unpacklo_epi16(in[i], in[i + 4]);
                out[2 * i + 1] = _mm_unpackhi_epi16(in[i], in[i + 4]);
            }
        };
        step(rows, other);
        step(other, rows);
        step(rows, other);
        for (int i = 0; i < 8; ++i)
            store_vector(to + i * pitch, other[i]);
    }
};

template <> struct VectorBlock<4> {
    static constexpr int32_t kSide = 4;
    static void run(const uint8_t* from, ptrdiff_t stride, uint8_t* to, ptrdiff_t pitch) noexcept
    {
        const __m128i a = load_vector(from);
        const __m128i b = load_vector(from + stride);
        const __m128i c = load_vector(from + 2 * stride);
        const __m128i d = load_vector(from + 3 * stride);
        const __m128i ab = _mm_unpacklo_epi32(a, b);
        const __m128i cd = _mm_unpacklo_epi32(c, d);
        const __m128i ab_high = _mm_unpackhi_epi32(a, b);
        const __m128i cd_high = _mm_unpackhi_epi32(c, d);
        store_vector(to, _mm_unpacklo_epi64(ab, cd));
        store_vector(to + pitch, _mm_unpackhi_epi64(ab, cd));
        store_vector(to + 2 * pitch, _mm_unpacklo_epi64(ab_high, cd_high));
        store_vector(to + 3 * pitch, _mm_unpackhi_epi64(ab_high, cd_high));
    }
};

template <> struct VectorBlock<8> {
    static constexpr int32_t kSide = 2;
    static void run(const uint8_t* from, ptrdiff_t stride, uint8_t* to, ptrdiff_t pitch) noexcept
    {
        const __m128i a = load_vector(from);
        const __m128i b = load_vector(from + stride);
        store_vector(to, _mm_unpacklo_epi64(a, b));
        store_vector(to + pitch, _mm_unpackhi_epi64(a, b));
    }
};

/// 16 rows of up to 16 bytes of 1-bit pixels: two bytes for each of up to 128 columns, those of rows past the last one
/// clear. A block in full goes to vectors straight, others by way of the stack.
inline void transpose_bits(const uint8_t* from, ptrdiff_t stride, uint8_t* to, ptrdiff_t pitch, int32_t columns,
                           int32_t row_count) noexcept
{
    // In each byte of the result the first row is the highest bit, in a vector's mask the last lane is.
    constexpr int kLanes[16] = {7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8};
    __m128i rows[16];
    const int32_t bytes = (columns + 7) / 8;
    for (int i = 0; i < 16; ++i) {
        const uint8_t* const row = from + kLanes[i] * stride;
        if (bytes == 16 && row_count == 16) {
            rows[i] = load_vector(row);
            continue;
        }
        uint8_t copy[16] = {};
        if (kLanes[i] < row_count)
            std::memcpy(copy, row, static_cast<size_t>(bytes));
        rows[i] = load_vector(copy);
    }
    transpose_16x16(rows);
    for (int32_t at = 0; at < bytes; ++at) {
        __m128i byte = rows[at];
        const int32_t bits = columns - 8 * at < 8 ? columns - 8 * at : 8;
        for (int32_t bit = 0; bit < bits; ++bit, to += pitch) {
            const auto mask = static_cast<uint16_t>(_mm_movemask_epi8(byte));
            std::memcpy(to, &mask, sizeof mask);
            byte = _mm_add_epi8(byte, byte);
        }
    }
}

} // namespace vk::turn
