// Tiles: what transposing works on, small enough for both sides of one to stay in the nearest cache. A tile is written
// to memory of its own first, from where its rows go to the target as whole lines.
#pragma once

#include "simd/Level.h"

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

/// Columns and rows.
struct BlockSize {
    int32_t columns;
    int32_t rows;
};

/// Rows of a tile on their way to the target, of which each is written once.
struct Lines {
    const uint8_t* from;
    ptrdiff_t pitch;
    uint8_t* to;
    ptrdiff_t stride;
    int32_t rows;
    size_t bytes; ///< of a row
};

struct TransposeLoops {
    /// Transposes, of a tile of pixels of whole bytes whose rows have 16 bytes, the full blocks; says how far they go.
    BlockSize (*pixels)(const Tile& tile, int32_t bytes) noexcept;

    /// As many rows as fill vectors of a tile of 128 pixels of 1 bit; how many is returned.
    int32_t (*bits)(const Tile& tile) noexcept;

    /// Copies the rows, past the caches where `stream` says that they are whole cache lines.
    void (*copy)(const Lines& lines, bool stream) noexcept;
};

VK_SIMD_TABLE_256(TransposeLoops, transpose_loops);

} // namespace vk::turn
