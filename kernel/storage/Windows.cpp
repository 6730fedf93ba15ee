// Windows on the pieces that live in a file: views of a plain file, copies of a redirected one.
//
// Where no window can be had, the file is read and written at the position instead. A copy that cannot be written back
// stays: its piece is served from it, and the others from the file, until writing works again.
#include "kernel/storage/Tiles.h"

#include <algorithm>
#include <cstring>

namespace vk {

namespace {

// The windows in order of use, linked by the places of their pieces: the table may move.

void unlink(TileTable& table, const Piece& piece) noexcept
{
    (piece.newer == kNoPiece ? table.newest : table.all()[piece.newer].older) = piece.older;
    (piece.older == kNoPiece ? table.oldest : table.all()[piece.older].newer) = piece.newer;
}

void link_newest(TileTable& table, Piece& piece) noexcept
{
    const auto place = static_cast<uint32_t>(&piece - table.all());
    piece.newer = kNoPiece;
    piece.older = table.newest;
    (table.newest == kNoPiece ? table.oldest : table.all()[table.newest].newer) = place;
    table.newest = place;
}

/// Gives a window up; false when its data could not be written back, it then stays.
bool close_window(TileTable& table, Piece& piece) noexcept
{
    if (piece.dirty &&
        storage_file::write_at(table.storage, piece.offset, piece.view, static_cast<size_t>(table.piece_bytes)) < 0)
        return false;
    discard_window(table, piece);
    return true;
}

bool open_view(const TileTable& table, Piece& piece) noexcept
{
    void* view = nullptr;
    if (platform::file_map(table.storage.handle, static_cast<int64_t>(piece.offset),
                           static_cast<size_t>(table.piece_bytes), &view) != Status::ok)
        return false;
    piece.view = static_cast<uint8_t*>(view);
    return true;
}

bool open_copy(const TileTable& table, Piece& piece) noexcept
{
    const auto bytes = static_cast<size_t>(table.piece_bytes);
    Section section;
    if (platform::section_create(bytes, Contents::zeroed, &section) != Status::ok)
        return false;
    if (piece.backed && storage_file::read_at(table.storage, piece.offset, section.view, bytes) < 0) {
        platform::section_free(&section);
        return false;
    }
    piece.section = section;
    piece.view = static_cast<uint8_t*>(section.view);
    return true;
}

/// The piece's bytes, through a new window if need be; null when there is none to be had.
uint8_t* window_of(TileTable& table, Piece& piece) noexcept
{
    if (piece.file == kNoFile)
        return piece.view;
    if (piece.view) {
        if (&piece != &table.all()[table.newest]) {
            unlink(table, piece);
            link_newest(table, piece);
        }
        return piece.view;
    }
    if (table.windows >= table.window_limit && !close_window(table, table.all()[table.oldest]))
        return nullptr;
    if (table.storage.redirected ? !open_copy(table, piece) : !open_view(table, piece))
        return nullptr;
    ++table.windows;
    link_newest(table, piece);
    return piece.view;
}

/// Writes a whole slot of zeros, for a piece that is to be written in part without a window.
bool clear_slot(const TileTable& table, const Piece& piece) noexcept
{
    constexpr size_t kChunk = 4096;
    static const uint8_t zeros[kChunk] = {};
    for (uint64_t offset = 0; offset < table.piece_bytes; offset += kChunk) {
        const auto bytes = static_cast<size_t>(std::min<uint64_t>(kChunk, table.piece_bytes - offset));
        if (storage_file::write_at(table.storage, piece.offset + offset, zeros, bytes) < 0)
            return false;
    }
    return true;
}

/// Gets a slot ready for its first write.
bool back(TileTable& table, Piece& piece) noexcept
{
    if (table.storage.redirected) // a window needs no slot until it is closed
        return window_of(table, piece) || clear_slot(table, piece);
    const auto slot = static_cast<int64_t>(piece.offset);
    return platform::file_reserve(table.storage.handle, slot, static_cast<size_t>(table.piece_bytes)) == Status::ok;
}

} // namespace

void discard_window(TileTable& table, Piece& piece) noexcept
{
    if (piece.file == kNoFile || !piece.view)
        return;
    if (table.storage.redirected)
        platform::section_free(&piece.section);
    else
        platform::file_unmap(piece.view, static_cast<size_t>(table.piece_bytes));
    unlink(table, piece);
    piece.view = nullptr;
    piece.dirty = false;
    --table.windows;
}

bool read_piece(TileTable& table, Piece& piece, uint64_t offset, uint8_t* out, size_t bytes) noexcept
{
    if (!piece.backed) {
        std::memset(out, 0, bytes);
        return true;
    }
    if (const uint8_t* const view = window_of(table, piece)) {
        std::memcpy(out, view + offset, bytes);
        return true;
    }
    return storage_file::read_at(table.storage, piece.offset + offset, out, bytes) >= 0;
}

bool write_piece(TileTable& table, Piece& piece, uint64_t offset, const uint8_t* in, size_t bytes) noexcept
{
    if (!piece.backed) {
        if (!back(table, piece))
            return false;
        piece.backed = true;
    }
    if (uint8_t* const view = window_of(table, piece)) {
        std::memcpy(view + offset, in, bytes);
        piece.dirty = table.storage.redirected != nullptr;
        return true;
    }
    return storage_file::write_at(table.storage, piece.offset + offset, in, bytes) >= 0;
}

} // namespace vk
