// Tiles: what transposing works on, small enough for both sides of one to stay in the nearest cache. A tile is written
// to memory of its own first, from where its rows go to the target as whole lines.
#pragma once

#include "kernel/format/Depths.h"

#include <cstddef>
#include <cstdint>

namespace vk::turn {

/// A tile. Where the next one is known, reading goes `ahead` bytes further to have its lines fetched.
struct Tile {
    const uint8_t* from;
    ptrdiff_t stride;
    uint8_t* to;
    ptrdiff_t pitch; ///< bytes between the rows written
    int32_t columns;
    int32_t rows;
    ptrdiff_t ahead = 0;
};

/// Columns and rows of the blocks that transpose_avx2 does.
struct BlockSize {
    int32_t columns;
    int32_t rows;
};
constexpr int32_t kOddSide = 4; ///< columns of 24- and 48-bit blocks
constexpr BlockSize avx2_block(int32_t bits) noexcept
{
    switch (bits) {
    case 8:
    case 16:
    case 32:
    case 64:
        return {128 / bits, 256 / bits};
    case 24:
        return {kOddSide, 8};
    case 48:
        return {kOddSide, 4};
    default:
        return {}; // such pixels are no whole bytes
    }
}
static_assert(every_depth([](int32_t bits) { return is_whole_bytes(bits) == (avx2_block(bits).columns > 0); }));

/// Transposes, of a tile of pixels of whole bytes whose rows have 16 bytes, the full blocks.
void transpose_avx2(const Tile& tile, int32_t bits) noexcept;

/// 32 rows of 128 pixels of 1 bit, to rows of a tile.
void transpose_bits_avx2(const uint8_t* from, ptrdiff_t stride, uint8_t* to, ptrdiff_t pitch) noexcept;

/// Rows of a tile on their way to the target, of which each is written once.
struct Lines {
    const uint8_t* from;
    ptrdiff_t pitch;
    uint8_t* to;
    ptrdiff_t stride;
    int32_t rows;
    size_t bytes; ///< of a row
};

/// Copies the rows, past the caches where `stream` says that they are whole cache lines.
void copy_lines_avx2(const Lines& lines, bool stream) noexcept;

/// Pixels of 2 to 7 bits spread to bytes, and back. Reads and writes no byte without pixels; the rest of the last one
/// is cleared.
void spread_avx2(const uint8_t* from, uint8_t* to, int32_t count, int32_t bits) noexcept;
void gather_avx2(const uint8_t* from, uint8_t* to, int32_t count, int32_t bits) noexcept;

/// Pixels of 12 bits spread to 16, and back: as many from the first on as full vectors allow, an even number.
int32_t spread12_avx2(const uint8_t* from, uint8_t* to, int32_t count) noexcept;
int32_t gather12_avx2(const uint8_t* from, uint8_t* to, int32_t count) noexcept;

} // namespace vk::turn
