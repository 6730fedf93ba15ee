// Tiled storage, for bitmaps larger than the memory they may take. A tile holds whole rows. The first tiles live in
// memory sections as far as the conventional limit goes; the others lie in one temporary file, a slot each, and are
// seen through windows (Windows.cpp). Where there are very many small tiles, several share a section or a slot.
//
// `Data` points to the table: a locked global block with the tile count, the header and one entry per piece.
#include "kernel/storage/Store.h"
#include "kernel/storage/Tiles.h"
#include "kernel/system/Blocks.h"
#include "kernel/system/Checks.h"

#include <algorithm>
#include <cstring>

namespace vk {

namespace {

constexpr uint64_t kMaxTiles = 1u << 20;
/// What the store keeps mapped by its own choice: so many bytes, and no more views than a process can spare.
constexpr uint64_t kMappedBytes = 48u << 20;
constexpr uint64_t kMappedViews = 1024;
/// Up to so many tiles, each is a piece of its own.
constexpr uint64_t kManyTiles = 1024;

TileTable* table_of(const BITMAPHANDLE& bitmap) noexcept
{
    return static_cast<TileTable*>(bitmap.Handle);
}

TileTable* new_table(uint32_t pieces) noexcept
{
    auto* const table = static_cast<TileTable*>(locked_block_alloc(sizeof(TileTable) + pieces * sizeof(Piece)));
    if (table) { // the block is clear, the handle of no file is not
        table->storage = {};
        table->capacity = pieces;
        table->newest = table->oldest = kNoPiece;
    }
    return table;
}

void free_piece(TileTable& table, Piece& piece) noexcept
{
    if (piece.file == kNoFile) {
        platform::section_free(&piece.section);
        --table.memory_pieces;
    } else {
        discard_window(table, piece);
    }
}

/// Frees pieces [first, pieces), last first.
void free_pieces(TileTable& table, uint32_t first) noexcept
{
    while (table.pieces > first) {
        free_piece(table, table.all()[table.pieces - 1]);
        --table.pieces;
    }
}

void destroy_table(TileTable* table) noexcept
{
    free_pieces(*table, 0);
    storage_file::close(table->storage);
    locked_block_free(table);
}

/// Memory is for the first pieces: none that comes behind one in the file.
bool make_memory_piece(TileTable& table, Piece& piece) noexcept
{
    const uint64_t first_tile = uint64_t{table.pieces} * table.tiles_per_piece;
    if (first_tile >= table.memory_allowed || table.memory_pieces != table.pieces)
        return false;
    Section section;
    if (platform::section_create(static_cast<size_t>(table.piece_bytes), Contents::zeroed, &section) != Status::ok)
        return false;
    piece = Piece{static_cast<uint8_t*>(section.view), kNoFile, 0, section, kNoPiece, kNoPiece, true, false};
    ++table.memory_pieces;
    return true;
}

int make_file_piece(TileTable& table, Piece& piece) noexcept
{
    if (table.files_forbidden)
        return V_ERROR_NO_MEMORY;
    if (!table.storage.is_open()) {
        if (const int result = storage_file::open(table.storage); result != V_SUCCESS)
            return result;
    }
    const uint64_t offset = table.slots * table.slot_bytes;
    piece = Piece{nullptr, table.storage.handle, offset, {}, kNoPiece, kNoPiece, false, false};
    ++table.slots;
    return V_SUCCESS;
}

/// Gives a plain file the size of its slots; without space in them as yet. A redirected one grows as slots are written.
bool size_file(const TileTable& table) noexcept
{
    if (!table.storage.is_open() || table.storage.redirected)
        return true;
    return storage_file::set_size(table.storage, table.slots * table.slot_bytes);
}

uint32_t pieces_for(const TileTable& table, uint32_t count) noexcept
{
    return static_cast<uint32_t>((uint64_t{count} + table.tiles_per_piece - 1) / table.tiles_per_piece);
}

/// Appends tiles until there are `count`; pieces that were appended before a failure stay in the table.
int append_tiles(TileTable& table, uint32_t count) noexcept
{
    if (table.files_forbidden && count > table.memory_allowed)
        return V_ERROR_NO_MEMORY;
    const uint32_t pieces = pieces_for(table, count);
    while (table.pieces < pieces) {
        Piece& piece = table.all()[table.pieces];
        const int result = make_memory_piece(table, piece) ? V_SUCCESS : make_file_piece(table, piece);
        if (result != V_SUCCESS)
            return result;
        ++table.pieces;
    }
    if (!size_file(table))
        return V_ERROR_NO_MEMORY;
    table.count = count;
    return V_SUCCESS;
}

/// A setting that is a number, or with a minus sign a percentage of all tiles.
uint32_t resolve(int32_t setting, uint64_t count) noexcept
{
    const uint64_t wanted = setting >= 0 ? static_cast<uint64_t>(setting)
                                         : count * static_cast<uint64_t>(-static_cast<int64_t>(setting)) / 100;
    return static_cast<uint32_t>(std::min(wanted, kMaxTiles));
}

uint64_t round_up(uint64_t value, uint64_t unit) noexcept
{
    return (value + unit - 1) / unit * unit;
}

uint64_t rows_per_tile(const BITMAPHANDLE& bitmap, const StoreRequest& request) noexcept
{
    return std::clamp<uint64_t>(request.tile_bytes / bitmap.BytesPerLine, 1, static_cast<uint32_t>(bitmap.Height));
}

uint64_t tiles_for(const BITMAPHANDLE& bitmap, uint64_t rows) noexcept
{
    return (static_cast<uint32_t>(bitmap.Height) + rows - 1) / rows;
}

/// Tiles that share a piece: where there are many that are small beside what can be mapped, as many as fill that.
uint32_t tiles_per_piece(uint64_t tile_bytes, uint64_t count) noexcept
{
    return count <= kManyTiles ? 1 : static_cast<uint32_t>(std::max<uint64_t>(kMapGranularity / tile_bytes, 1));
}

/// Fills the header of an empty table that is to hold `count` tiles.
void describe(TileTable& table, const BITMAPHANDLE& bitmap, const StoreRequest& request) noexcept
{
    const uint64_t rows = rows_per_tile(bitmap, request);
    const uint64_t count = tiles_for(bitmap, rows);
    table.rows_per_tile = static_cast<uint32_t>(rows);
    table.tile_bytes = rows * bitmap.BytesPerLine;
    table.tiles_per_piece = tiles_per_piece(table.tile_bytes, count);
    table.piece_bytes = table.tile_bytes * table.tiles_per_piece;
    table.slot_bytes = round_up(table.piece_bytes, kMapGranularity);
    table.files_forbidden = request.files_forbidden;
    const uint64_t by_limit = std::min(request.memory_limit / table.tile_bytes, kMaxTiles);
    table.memory_allowed = std::max(static_cast<uint32_t>(by_limit), resolve(request.memory_tiles, count));
    const uint32_t mapped = resolve(request.mapped_tiles, count);
    const auto fit = [](uint64_t bytes) noexcept {
        return static_cast<uint32_t>(std::clamp<uint64_t>(kMappedBytes / bytes, 1, kMappedViews));
    };
    table.mapped_tiles = mapped ? mapped : fit(table.tile_bytes);
    table.window_limit = mapped ? pieces_for(table, mapped) : fit(table.piece_bytes);
}

int create(BITMAPHANDLE& bitmap, const StoreRequest& request) noexcept
{
    if (bitmap.BytesPerLine == 0 || bitmap.Height < 1)
        return V_ERROR_INVALID_WIDTH_HEIGHT;
    const uint64_t count = tiles_for(bitmap, rows_per_tile(bitmap, request));
    if (count > kMaxTiles)
        return V_ERROR_NO_MEMORY;
    TileTable header = {};
    describe(header, bitmap, request);
    TileTable* const table = new_table(pieces_for(header, static_cast<uint32_t>(count)));
    if (!table)
        return V_ERROR_NO_MEMORY;
    describe(*table, bitmap, request);
    if (const int result = append_tiles(*table, static_cast<uint32_t>(count)); result != V_SUCCESS) {
        destroy_table(table);
        return result;
    }
    bitmap.Handle = table;
    bitmap.Data = reinterpret_cast<uint8_t*>(table);
    bitmap.DataOffset = 0;
    return V_SUCCESS;
}

/// Calls `move(piece, offset in it, bytes)` for each piece that [position, position + bytes) meets.
template <typename Move> bool for_each_piece(TileTable& table, uint64_t position, size_t bytes, Move&& move) noexcept
{
    for (uint64_t index = position / table.piece_bytes, offset = position % table.piece_bytes; bytes > 0;
         ++index, offset = 0) {
        const size_t part = static_cast<size_t>(std::min<uint64_t>(bytes, table.piece_bytes - offset));
        if (index >= table.pieces || !move(table.all()[index], offset, part))
            return false;
        bytes -= part;
    }
    return true;
}

intptr_t read(BITMAPHANDLE& bitmap, uint64_t position, void* buffer, size_t bytes) noexcept
{
    TileTable& table = *table_of(bitmap);
    auto* out = static_cast<uint8_t*>(buffer);
    const bool done = for_each_piece(table, position, bytes, [&](Piece& piece, uint64_t offset, size_t part) noexcept {
        const bool ok = read_piece(table, piece, offset, out, part);
        out += part;
        return ok;
    });
    return done ? static_cast<intptr_t>(bytes) : -1;
}

intptr_t write(BITMAPHANDLE& bitmap, uint64_t position, const void* buffer, size_t bytes) noexcept
{
    TileTable& table = *table_of(bitmap);
    auto* in = static_cast<const uint8_t*>(buffer);
    const bool done = for_each_piece(table, position, bytes, [&](Piece& piece, uint64_t offset, size_t part) noexcept {
        const bool ok = write_piece(table, piece, offset, in, part);
        in += part;
        return ok;
    });
    return done ? static_cast<intptr_t>(bytes) : -1;
}

/// Clears what lies in the last piece behind the bitmap's present rows and becomes rows at a new height: rows that were
/// cut off may stand there.
bool clear_tail(TileTable& table, const BITMAPHANDLE& bitmap, int32_t height) noexcept
{
    constexpr size_t kChunk = 4096;
    static const uint8_t zeros[kChunk] = {};
    const uint64_t line = table.tile_bytes / table.rows_per_tile;
    const uint64_t start = uint64_t{table.pieces - 1} * table.piece_bytes;
    const uint64_t end = std::min(table.piece_bytes, static_cast<uint32_t>(height) * line - start);
    Piece& last = table.all()[table.pieces - 1];
    if (!last.backed)
        return true;
    for (uint64_t offset = plain_size(bitmap) - start; offset < end;) {
        const size_t part = static_cast<size_t>(std::min<uint64_t>(kChunk, end - offset));
        if (!write_piece(table, last, offset, zeros, part))
            return false;
        offset += part;
    }
    return true;
}

/// Cuts tiles off the end. Their slots are given back when the file can be cut, and else never used again, because they
/// may hold old rows; so the slots in use need not be the first ones.
void shrink(TileTable& table, uint32_t count) noexcept
{
    free_pieces(table, pieces_for(table, count));
    table.count = count;
    uint32_t slots = 0;
    if (table.pieces > table.memory_pieces) // slots are given out in order
        slots = static_cast<uint32_t>(table.all()[table.pieces - 1].offset / table.slot_bytes) + 1;
    if (slots < table.slots && storage_file::cut(table.storage, slots * table.slot_bytes))
        table.slots = slots;
}

/// Appends tiles where the table has room for their pieces; all or none.
int extend(TileTable& table, uint32_t count) noexcept
{
    const uint32_t kept = table.pieces;
    const uint32_t slots = table.slots;
    const bool was_open = table.storage.is_open();
    const int result = append_tiles(table, count);
    if (result == V_SUCCESS)
        return result;
    free_pieces(table, kept);
    table.slots = slots;
    if (!was_open)
        storage_file::close(table.storage);
    else
        size_file(table); // a file that cannot be cut keeps slots that read as clear
    return result;
}

/// Moves the table into a larger block, with room for more than is wanted now, and extends it. On failure the old block
/// is as it was.
int grow(BITMAPHANDLE& bitmap, uint32_t count) noexcept
{
    TileTable* const old_table = table_of(bitmap);
    const uint32_t wanted = pieces_for(*old_table, count);
    TileTable* table = new_table(wanted + std::min(wanted, old_table->pieces) / 2);
    if (!table)
        table = new_table(wanted);
    if (!table)
        return V_ERROR_NO_MEMORY;
    const uint32_t capacity = table->capacity;
    std::memcpy(table, old_table, sizeof(TileTable) + old_table->pieces * sizeof(Piece));
    table->capacity = capacity;
    if (const int result = extend(*table, count); result != V_SUCCESS) {
        locked_block_free(table);
        return result;
    }
    locked_block_free(old_table);
    bitmap.Handle = table;
    bitmap.Data = reinterpret_cast<uint8_t*>(table);
    return V_SUCCESS;
}

int resize(BITMAPHANDLE& bitmap, int32_t height) noexcept
{
    TileTable& table = *table_of(bitmap);
    const uint64_t wanted = (static_cast<uint64_t>(height) + table.rows_per_tile - 1) / table.rows_per_tile;
    if (wanted > kMaxTiles)
        return V_ERROR_NO_MEMORY;
    const auto count = static_cast<uint32_t>(wanted);
    if (count < table.count) {
        shrink(table, count);
        return V_SUCCESS;
    }
    if (height > bitmap.Height && !clear_tail(table, bitmap, height))
        return V_ERROR_NO_MEMORY;
    if (count == table.count)
        return V_SUCCESS;
    if (pieces_for(table, count) > table.capacity)
        return grow(bitmap, count);
    return extend(table, count);
}

void figures(const BITMAPHANDLE& bitmap, StoreFigures& figures) noexcept
{
    const TileTable& table = *table_of(bitmap);
    figures.tile_bytes = static_cast<int64_t>(table.tile_bytes);
    figures.tiles = static_cast<int32_t>(table.count);
    const uint64_t in_memory = std::min<uint64_t>(table.count, uint64_t{table.memory_pieces} * table.tiles_per_piece);
    figures.memory_tiles = static_cast<int32_t>(in_memory);
    figures.file_tiles = static_cast<int32_t>(table.count - in_memory);
    figures.mapped_tiles = static_cast<int32_t>(table.mapped_tiles);
}

void destroy(BITMAPHANDLE& bitmap) noexcept
{
    if (TileTable* const table = table_of(bitmap))
        destroy_table(table);
}

} // namespace

const StoreCalls kTiledCalls = {
    .create = create,
    .extent = plain_size,
    .read = read,
    .write = write,
    .resize = resize,
    .recount = plain_size,
    .figures = figures,
    .destroy = destroy,
};

} // namespace vk
