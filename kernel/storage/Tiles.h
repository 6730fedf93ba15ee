// The table of a tiled bitmap, and the windows through which tiles in its file are read and written.
//
// Storage is held by the piece: one tile, or, in a bitmap of very many tiles smaller than what can be mapped, so many
// of them as fill that. A piece lives in memory or has a slot of the file.
//
// A plain file is mapped. A redirected one cannot be: there a window is a copy of the piece in memory, written back
// when it gives way to another. Only a few windows are open at a time; the least recently used gives way.
//
// A slot of the file holds nothing until its first write and reads as clear. In a plain file it takes its disk space
// then, all at once, so that writing through a view cannot run out of it.
#pragma once

#include "kernel/storage/StorageFile.h"
#include "platform/platform.h"

#include <cstddef>
#include <cstdint>

namespace vk {

/// The place of no piece.
constexpr uint32_t kNoPiece = UINT32_MAX;

struct Piece {
    uint8_t* view;   ///< the bytes, null while a piece in the file has no window
    int64_t file;    ///< the spill file, or kNoFile for a piece in memory
    uint64_t offset; ///< of the slot in the file
    Section section; ///< of a piece in memory, and of a copy of one in a redirected file
    uint32_t newer;  ///< the next window in order of use, for pieces that have one
    uint32_t older;
    bool backed; ///< something was written, so the slot or its window holds data
    bool dirty;  ///< the copy differs from the slot
};

struct TileTable {
    uint32_t count; ///< of tiles
    uint32_t rows_per_tile;
    uint64_t tile_bytes;
    uint32_t tiles_per_piece;
    uint32_t pieces;
    uint32_t capacity; ///< pieces that the block has room for
    uint64_t piece_bytes;
    StorageFile storage; ///< spill file of all pieces that are not in memory
    uint64_t slot_bytes;
    uint32_t slots;          ///< slots in the file
    uint32_t memory_pieces;  ///< the first ones
    uint32_t memory_allowed; ///< tiles that may live in memory
    uint32_t mapped_tiles;   ///< as set, or the store's choice
    uint32_t windows;
    uint32_t window_limit;
    uint32_t newest; ///< of the windows, in order of use
    uint32_t oldest;
    bool files_forbidden;

    Piece* all() noexcept { return reinterpret_cast<Piece*>(this + 1); }
};

/// Moves bytes of one piece. False when memory or the file failed; nothing written before is lost by that.
bool read_piece(TileTable& table, Piece& piece, uint64_t offset, uint8_t* out, size_t bytes) noexcept;
bool write_piece(TileTable& table, Piece& piece, uint64_t offset, const uint8_t* in, size_t bytes) noexcept;

/// Closes the window of a piece in the file whose data are not needed any more.
void discard_window(TileTable& table, Piece& piece) noexcept;

} // namespace vk
