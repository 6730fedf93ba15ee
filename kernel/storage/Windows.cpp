// Windows on the tiles that live in a file: views of a plain file, copies of a redirected one.
//
// Where no window can be had, the file is read and written at the position instead. A copy that cannot be written back
// stays: its tile is served from it, and the others from the file, until writing works again.
#include "kernel/storage/Tiles.h"

#include <algorithm>
#include <cstring>

namespace vk {

namespace {

/// Gives a window up; false when its data could not be written back, it then stays.
bool close_window(TileTable& table, Tile& tile) noexcept
{
    if (tile.dirty && storage_file::write_at(table.storage, tile.offset, tile.view, tile.bytes) < 0)
        return false;
    discard_window(table, tile);
    return true;
}

bool close_least_recent(TileTable& table) noexcept
{
    Tile* oldest = nullptr;
    for (uint32_t i = 0; i < table.count; ++i) {
        Tile& tile = table.tiles()[i];
        if (tile.file != kNoFile && tile.view && (!oldest || tile.used < oldest->used))
            oldest = &tile;
    }
    return !oldest || close_window(table, *oldest);
}

bool open_view(const TileTable& table, Tile& tile) noexcept
{
    void* view = nullptr;
    if (platform::file_map(table.storage.handle, static_cast<int64_t>(tile.offset), static_cast<size_t>(tile.bytes),
                           &view) != Status::ok)
        return false;
    tile.view = static_cast<uint8_t*>(view);
    return true;
}

bool open_copy(const TileTable& table, Tile& tile) noexcept
{
    const auto bytes = static_cast<size_t>(tile.bytes);
    Section section;
    if (platform::section_create(bytes, &section) != Status::ok)
        return false;
    if (tile.backed && storage_file::read_at(table.storage, tile.offset, section.view, bytes) < 0) {
        platform::section_free(&section);
        return false;
    }
    tile.section = section;
    tile.view = static_cast<uint8_t*>(section.view);
    return true;
}

/// The tile's bytes, through a new window if need be; null when there is none to be had.
uint8_t* window_of(TileTable& table, Tile& tile) noexcept
{
    tile.used = ++table.clock;
    if (tile.view)
        return tile.view;
    if (table.windows >= table.window_limit && !close_least_recent(table))
        return nullptr;
    if (table.storage.redirected ? !open_copy(table, tile) : !open_view(table, tile))
        return nullptr;
    ++table.windows;
    return tile.view;
}

/// Writes a whole slot of zeros, for a tile that is to be written in part without a window.
bool clear_slot(const TileTable& table, const Tile& tile) noexcept
{
    constexpr size_t kChunk = 4096;
    static const uint8_t zeros[kChunk] = {};
    for (uint64_t offset = 0; offset < tile.bytes; offset += kChunk) {
        const auto piece = static_cast<size_t>(std::min<uint64_t>(kChunk, tile.bytes - offset));
        if (storage_file::write_at(table.storage, tile.offset + offset, zeros, piece) < 0)
            return false;
    }
    return true;
}

/// Gets a slot ready for its first write.
bool back(TileTable& table, Tile& tile) noexcept
{
    if (table.storage.redirected) // a window needs no slot until it is closed
        return window_of(table, tile) || clear_slot(table, tile);
    const auto slot = static_cast<int64_t>(tile.offset);
    return platform::file_reserve(table.storage.handle, slot, static_cast<size_t>(tile.bytes)) == Status::ok;
}

} // namespace

void discard_window(TileTable& table, Tile& tile) noexcept
{
    if (tile.file == kNoFile || !tile.view)
        return;
    if (table.storage.redirected)
        platform::section_free(&tile.section);
    else
        platform::file_unmap(tile.view, static_cast<size_t>(tile.bytes));
    tile.view = nullptr;
    tile.dirty = false;
    --table.windows;
}

bool read_tile(TileTable& table, Tile& tile, uint64_t offset, uint8_t* out, size_t bytes) noexcept
{
    if (!tile.backed) {
        std::memset(out, 0, bytes);
        return true;
    }
    if (const uint8_t* const view = window_of(table, tile)) {
        std::memcpy(out, view + offset, bytes);
        return true;
    }
    return storage_file::read_at(table.storage, tile.offset + offset, out, bytes) >= 0;
}

bool write_tile(TileTable& table, Tile& tile, uint64_t offset, const uint8_t* in, size_t bytes) noexcept
{
    if (!tile.backed) {
        if (!back(table, tile))
            return false;
        tile.backed = true;
    }
    if (uint8_t* const view = window_of(table, tile)) {
        std::memcpy(view + offset, in, bytes);
        tile.dirty = table.storage.redirected != nullptr;
        return true;
    }
    return storage_file::write_at(table.storage, tile.offset + offset, in, bytes) >= 0;
}

} // namespace vk
