// Square blocks of pixels transposed in vectors: with 16 bytes the squares that every processor can do, with wider ones
// several of them, one below the other, at once.
#pragma once

#include "simd/Pick.h"
#include "simd/Simd.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace vk::turn::VK_SIMD_SET {

/// Columns as many as fill 16 bytes, rows as many as fill a vector.
template <class V>
VK_SIMD_INLINE void transpose_block(const uint8_t* from, ptrdiff_t stride, uint8_t* to, ptrdiff_t pitch) noexcept
{
    constexpr ptrdiff_t kCount = 16 / sizeof(typename V::Lane);
    V rows[kCount];
    for (ptrdiff_t i = 0; i < kCount; ++i)
        rows[i] = simd::load_both<V>(from + i * stride, from + (i + kCount) * stride);
    simd::transpose(rows);
    for (ptrdiff_t i = 0; i < kCount; ++i)
        simd::store(to + i * pitch, rows[i]);
}

/// Which of sixteen rows of 1-bit pixels takes part at a place: in each byte of the result the first row is the highest
/// bit, among a vector's highest bits the last lane is.
constexpr int32_t row_of_lane(int32_t lane) noexcept
{
    return lane / 8 * 8 + 7 - lane % 8;
}

/// Writes the first `count` of eight columns: the bits of each are a row.
template <class V> VK_SIMD_INLINE uint8_t* store_bits(V byte, uint8_t* to, ptrdiff_t pitch, int32_t count = 8) noexcept
{
    for (int32_t bit = 0; bit < count; ++bit, to += pitch) {
        const uint64_t bits = simd::high_bits(byte);
        std::memcpy(to, &bits, V::kLanes / 8);
        byte = byte + byte;
    }
    return to;
}

/// 128 pixels of 1 bit of as many rows as a vector has bytes, to rows of a tile.
template <class V>
VK_SIMD_INLINE void transpose_bits(const uint8_t* from, ptrdiff_t stride, uint8_t* to, ptrdiff_t pitch) noexcept
{
    V rows[16];
    for (int32_t i = 0; i < 16; ++i)
        rows[i] = simd::load_both<V>(from + row_of_lane(i) * stride, from + (row_of_lane(i) + 16) * stride);
    simd::transpose(rows);
    for (const V& byte : rows)
        to = store_bits(byte, to, pitch);
}

} // namespace vk::turn::VK_SIMD_SET
