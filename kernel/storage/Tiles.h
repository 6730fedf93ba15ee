// The table of a tiled bitmap, and the windows through which tiles in its file are read and written.
//
// A plain file is mapped. A redirected one cannot be: there a window is a copy of the tile in memory, written back when
// it gives way to another. Only a few windows are open at a time; the least recently used gives way.
//
// A slot of the file holds nothing until its first write and reads as clear. In a plain file it takes its disk space
// then, all at once, so that writing through a view cannot run out of it.
#pragma once

#include "kernel/storage/StorageFile.h"
#include "platform/platform.h"

#include <cstddef>
#include <cstdint>

namespace vk {

struct Tile {
    uint8_t* view;   ///< the tile's bytes, null while a file tile has no window
    uint64_t bytes;  ///< capacity
    int64_t file;    ///< the spill file, or kNoFile for a tile in memory
    uint64_t offset; ///< of the slot in the file
    uint64_t used;   ///< stamp of the last use, for file tiles
    Section section; ///< of a tile in memory, and of a copy of a tile in a redirected file
    bool backed;     ///< something was written, so the slot or its window holds data
    bool dirty;      ///< the copy differs from the slot
};

struct TileTable {
    uint32_t count;
    uint32_t rows_per_tile;
    uint64_t tile_bytes;
    uint64_t memory_limit;
    StorageFile storage; ///< spill file of all tiles that are not in memory
    uint64_t slot_bytes;
    uint32_t slots; ///< slots in the file
    uint32_t memory_tiles;
    uint32_t memory_allowed; ///< tiles that may live in memory
    uint32_t windows;
    uint32_t window_limit;
    uint64_t clock;
    bool files_forbidden;

    Tile* tiles() noexcept { return reinterpret_cast<Tile*>(this + 1); }
};

/// Moves bytes of one tile. False when memory or the file failed; nothing written before is lost by that.
bool read_tile(TileTable& table, Tile& tile, uint64_t offset, uint8_t* out, size_t bytes) noexcept;
bool write_tile(TileTable& table, Tile& tile, uint64_t offset, const uint8_t* in, size_t bytes) noexcept;

/// Closes the window of a file tile whose data are not needed any more.
void discard_window(TileTable& table, Tile& tile) noexcept;

} // namespace vk
