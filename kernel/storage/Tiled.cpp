// Tiled storage, for bitmaps larger than the memory they may take. A tile holds whole rows. The first tiles live in
// memory sections as far as the conventional limit goes; the others lie in one temporary file, a slot each, and are
// seen through windows (Windows.cpp).
//
// `Data` points to the table: a locked global block with the tile count, the header and one entry per tile.
#include "kernel/system/Blocks.h"
#include "kernel/system/Checks.h"
#include "kernel/storage/Store.h"
#include "kernel/storage/Tiles.h"

#include <algorithm>
#include <cstring>

namespace vk {

namespace {

constexpr uint64_t kMaxTiles = 1u << 20;
/// What the store keeps mapped by its own choice: so many bytes, and no more views than a process can spare.
constexpr uint64_t kMappedBytes = 48u << 20;
constexpr uint64_t kMappedViews = 1024;

TileTable* table_of(const BITMAPHANDLE& bitmap) noexcept
{
    return static_cast<TileTable*>(bitmap.Handle);
}

TileTable* new_table(uint64_t count) noexcept
{
    if (count == 0 || count > kMaxTiles)
        return nullptr;
    auto* const table =
        static_cast<TileTable*>(locked_block_alloc(sizeof(TileTable) + static_cast<size_t>(count) * sizeof(Tile)));
    if (table) // the block is clear, the handle of no file is not
        table->storage = {};
    return table;
}

void free_tile(TileTable& table, Tile& tile) noexcept
{
    if (tile.file == kNoFile) {
        platform::section_free(&tile.section);
        --table.memory_tiles;
    } else {
        discard_window(table, tile);
    }
}

/// Frees tiles [first, count), last first.
void free_tiles(TileTable& table, uint32_t first) noexcept
{
    while (table.count > first) {
        free_tile(table, table.tiles()[table.count - 1]);
        --table.count;
    }
}

void destroy_table(TileTable* table) noexcept
{
    free_tiles(*table, 0);
    storage_file::close(table->storage);
    locked_block_free(table);
}

bool make_memory_tile(TileTable& table, Tile& tile) noexcept
{
    if (table.memory_tiles >= table.memory_allowed)
        return false;
    Section section;
    if (platform::section_create(static_cast<size_t>(table.tile_bytes), &section) != Status::ok)
        return false;
    tile = Tile{static_cast<uint8_t*>(section.view), table.tile_bytes, kNoFile, 0, 0, section, true, false};
    ++table.memory_tiles;
    return true;
}

bool make_file_tile(TileTable& table, Tile& tile) noexcept
{
    if (table.files_forbidden)
        return false;
    if (!table.storage.is_open() && !storage_file::open(table.storage))
        return false;
    tile = Tile{nullptr, table.tile_bytes, table.storage.handle, table.slots * table.slot_bytes, 0, {}, false, false};
    ++table.slots;
    return true;
}

/// Gives a plain file the size of its slots; without space in them as yet. A redirected one grows as slots are written.
bool size_file(const TileTable& table) noexcept
{
    if (!table.storage.is_open() || table.storage.redirected)
        return true;
    return storage_file::set_size(table.storage, table.slots * table.slot_bytes);
}

/// Appends tiles until there are `count`; what was appended before a failure stays in the table.
bool append_tiles(TileTable& table, uint32_t count) noexcept
{
    while (table.count < count) {
        Tile& tile = table.tiles()[table.count];
        if (!make_memory_tile(table, tile) && !make_file_tile(table, tile))
            return false;
        ++table.count;
    }
    return size_file(table);
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

/// Fills the header of an empty table that is to hold `count` tiles.
void describe(TileTable& table, uint64_t rows, uint64_t line, const StoreRequest& request, uint64_t count) noexcept
{
    table.rows_per_tile = static_cast<uint32_t>(rows);
    table.tile_bytes = rows * line;
    table.slot_bytes = round_up(table.tile_bytes, kMapGranularity);
    table.files_forbidden = request.files_forbidden;
    const uint64_t by_limit = std::min(request.memory_limit / table.tile_bytes, kMaxTiles);
    table.memory_allowed = std::max(static_cast<uint32_t>(by_limit), resolve(request.memory_tiles, count));
    const uint32_t mapped = resolve(request.mapped_tiles, count);
    const uint64_t by_size = std::clamp<uint64_t>(kMappedBytes / table.tile_bytes, 1, kMappedViews);
    table.window_limit = mapped ? mapped : static_cast<uint32_t>(by_size);
}

int create(BITMAPHANDLE& bitmap, const StoreRequest& request) noexcept
{
    if (bitmap.BytesPerLine == 0 || bitmap.Height < 1)
        return V_ERROR_INVALID_WIDTH_HEIGHT;
    const uint64_t rows = rows_per_tile(bitmap, request);
    const uint64_t count = (static_cast<uint32_t>(bitmap.Height) + rows - 1) / rows;
    TileTable* const table = new_table(count);
    if (!table)
        return V_ERROR_NO_MEMORY;
    describe(*table, rows, bitmap.BytesPerLine, request, count);
    if (!append_tiles(*table, static_cast<uint32_t>(count))) {
        destroy_table(table);
        return V_ERROR_NO_MEMORY;
    }
    bitmap.Handle = table;
    bitmap.Data = reinterpret_cast<uint8_t*>(table);
    bitmap.DataOffset = 0;
    bitmap.Flags |= BITMAPFLAG_CONVENTIONALMEMORY | BITMAPFLAG_TILED;
    return V_SUCCESS;
}

/// Calls `move(tile, offset in tile, bytes)` for each tile that [position, position + bytes) meets.
template <typename Move> bool for_each_tile(TileTable& table, uint64_t position, size_t bytes, Move&& move) noexcept
{
    for (uint64_t index = position / table.tile_bytes, offset = position % table.tile_bytes; bytes > 0;
         ++index, offset = 0) {
        const size_t piece = static_cast<size_t>(std::min<uint64_t>(bytes, table.tile_bytes - offset));
        if (index >= table.count || !move(table.tiles()[index], offset, piece))
            return false;
        bytes -= piece;
    }
    return true;
}

intptr_t read(BITMAPHANDLE& bitmap, uint64_t position, void* buffer, size_t bytes) noexcept
{
    TileTable& table = *table_of(bitmap);
    auto* out = static_cast<uint8_t*>(buffer);
    const bool done = for_each_tile(table, position, bytes, [&](Tile& tile, uint64_t offset, size_t piece) noexcept {
        const bool ok = read_tile(table, tile, offset, out, piece);
        out += piece;
        return ok;
    });
    return done ? static_cast<intptr_t>(bytes) : -1;
}

intptr_t write(BITMAPHANDLE& bitmap, uint64_t position, const void* buffer, size_t bytes) noexcept
{
    TileTable& table = *table_of(bitmap);
    auto* in = static_cast<const uint8_t*>(buffer);
    const bool done = for_each_tile(table, position, bytes, [&](Tile& tile, uint64_t offset, size_t piece) noexcept {
        const bool ok = write_tile(table, tile, offset, in, piece);
        in += piece;
        return ok;
    });
    return done ? static_cast<intptr_t>(bytes) : -1;
}

/// Clears the rows of the last tile that lie behind the bitmap's present height, where rows that were cut off may
/// stand.
bool clear_tail(TileTable& table, uint64_t height) noexcept
{
    constexpr size_t kChunk = 4096;
    static const uint8_t zeros[kChunk] = {};
    const uint64_t line = table.tile_bytes / table.rows_per_tile;
    Tile& last = table.tiles()[table.count - 1];
    if (!last.backed)
        return true;
    for (uint64_t offset = (height - uint64_t{table.count - 1} * table.rows_per_tile) * line;
         offset < table.tile_bytes;) {
        const size_t piece = static_cast<size_t>(std::min<uint64_t>(kChunk, table.tile_bytes - offset));
        if (!write_tile(table, last, offset, zeros, piece))
            return false;
        offset += piece;
    }
    return true;
}

/// Cuts tiles off the end. Their slots are given back when the file can be cut, and else never used again, because they
/// may hold old rows; so the slots in use need not be the first ones.
void shrink(TileTable& table, uint32_t count) noexcept
{
    free_tiles(table, count);
    uint32_t slots = 0;
    for (uint32_t i = 0; i < count; ++i) {
        const Tile& tile = table.tiles()[i];
        if (tile.file != kNoFile)
            slots = std::max(slots, static_cast<uint32_t>(tile.offset / table.slot_bytes) + 1);
    }
    if (slots < table.slots && storage_file::cut(table.storage, slots * table.slot_bytes))
        table.slots = slots;
}

/// Moves the table into a larger block with room for `count` tiles and fills it up.
int grow(BITMAPHANDLE& bitmap, uint32_t count) noexcept
{
    TileTable* const old_table = table_of(bitmap);
    TileTable* const table = new_table(count);
    if (!table)
        return V_ERROR_NO_MEMORY;
    const uint32_t kept = old_table->count;
    std::memcpy(table, old_table, sizeof(TileTable) + kept * sizeof(Tile));
    if (!append_tiles(*table, count)) {
        free_tiles(*table, kept);
        if (!old_table->storage.is_open())
            storage_file::close(table->storage);
        locked_block_free(table);
        return V_ERROR_NO_MEMORY;
    }
    locked_block_free(old_table);
    bitmap.Handle = table;
    bitmap.Data = reinterpret_cast<uint8_t*>(table);
    return V_SUCCESS;
}

int resize(BITMAPHANDLE& bitmap, int32_t height) noexcept
{
    TileTable& table = *table_of(bitmap);
    const uint64_t count = (static_cast<uint64_t>(height) + table.rows_per_tile - 1) / table.rows_per_tile;
    if (count > kMaxTiles)
        return V_ERROR_NO_MEMORY;
    if (count < table.count) {
        shrink(table, static_cast<uint32_t>(count));
        return V_SUCCESS;
    }
    if (height > bitmap.Height && !clear_tail(table, static_cast<uint32_t>(bitmap.Height)))
        return V_ERROR_NO_MEMORY;
    return count > table.count ? grow(bitmap, static_cast<uint32_t>(count)) : V_SUCCESS;
}

void figures(const BITMAPHANDLE& bitmap, StoreFigures& figures) noexcept
{
    const TileTable& table = *table_of(bitmap);
    figures.tile_bytes = static_cast<int64_t>(table.tile_bytes);
    figures.tiles = static_cast<int32_t>(table.count);
    figures.memory_tiles = static_cast<int32_t>(table.memory_tiles);
    figures.file_tiles = static_cast<int32_t>(table.count - table.memory_tiles);
    figures.mapped_tiles = static_cast<int32_t>(table.window_limit);
}

void destroy(BITMAPHANDLE& bitmap) noexcept
{
    if (TileTable* const table = table_of(bitmap))
        destroy_table(table);
}

} // namespace

const Store kTiledStore = {
    .name = "tiled",
    .memory_type = TYPE_TILED,
    .before_start = V_ERROR_INVALID_PARAMETER,
    .read_past_end = V_ERROR_INVALID_PARAMETER,
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
