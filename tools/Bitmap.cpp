/**
 * @file Bitmap.cpp
 * How a bitmap of each storage kind comes about, as a program that uses the library would do it.
 */
#include "tools/Bitmap.h"

#include "tools/Failure.h"

#include <algorithm>

namespace vk::tool {

namespace {

constexpr StorageKind kKinds[] = {
    {"conv", TYPE_CONV | TYPE_NOTILED | TYPE_NODISK, TYPE_CONV},
    {"global", 0, TYPE_CONV},
    {"user", TYPE_USER, TYPE_CONV},
    {"disk", TYPE_DISK, TYPE_DISK},
    {"tiled", TYPE_TILED, TYPE_TILED},
    {"compressed", TYPE_COMPRESSED, TYPE_COMPRESSED},
    {"super", TYPE_SUPERCOMPRESSED, TYPE_SUPERCOMPRESSED},
};

/** Tiles of the given size, or eight of them and a bit, at least a row each. */
void set_tile_size(const PictureInfo& info, std::optional<int64_t> tile_bytes)
{
    const auto row = static_cast<int64_t>(info.row_bytes());
    const auto size = static_cast<int64_t>(info.data_bytes());
    const int64_t tile = std::max(row, tile_bytes.value_or(size / 8));
    if (tile >= size) {
        throw OperationError("the picture fits into one tile: its pixels take " + std::to_string(size) +
                             " bytes, a tile " + std::to_string(tile));
    }
    check(V_SetMemoryThresholds(0, 0, tile, 0, 0, THRESHOLD_TILESIZE), "setting the tile size");
}

} // namespace

const char* storage_kind_names()
{
    return "conv, global, user, disk, tiled, compressed or super";
}

const StorageKind& storage_kind(const std::string& name)
{
    const auto found =
        std::find_if(std::begin(kKinds), std::end(kKinds), [&](const StorageKind& kind) { return name == kind.name; });
    if (found == std::end(kKinds)) {
        throw UsageError("unknown storage kind " + name + ": " + storage_kind_names());
    }
    return *found;
}

const char* memory_type_name(uint32_t type)
{
    switch (type) {
    case TYPE_CONV:
        return "conventional";
    case TYPE_TILED:
        return "tiled";
    case TYPE_DISK:
        return "disk";
    case TYPE_COMPRESSED:
        return "compressed";
    case TYPE_SUPERCOMPRESSED:
        return "super-compressed";
    default:
        return "unknown";
    }
}

Bitmap::Bitmap(const PictureInfo& info)
{
    uint32_t type = 0;
    check(V_GetDefaultMemoryType(&type), "reading the default memory type");
    create(info, type, nullptr);
}

Bitmap::Bitmap(const PictureInfo& info, const StorageKind& kind, std::optional<int64_t> tile_bytes)
{
    if (kind.reported == TYPE_COMPRESSED && info.bits != 1) {
        throw OperationError("compressed storage holds pictures of 1 bit per pixel, this one has " +
                             std::to_string(info.bits));
    }
    if (kind.reported == TYPE_SUPERCOMPRESSED && info.bits != 1 && info.bits != 8 && info.bits != 24) {
        throw OperationError("super-compressed storage holds pictures of 1, 8 or 24 bits per pixel, this one has " +
                             std::to_string(info.bits));
    }
    if (kind.reported == TYPE_TILED) {
        set_tile_size(info, tile_bytes);
    }
    if (kind.request == 0) {
        create_global(info);
    } else {
        if (kind.request == TYPE_USER) {
            lent_ = std::make_unique<uint8_t[]>(info.data_bytes());
        }
        create(info, kind.request, lent_.get());
    }
    const uint32_t type = memory_info().type;
    if (type != kind.reported) {
        const std::string got = memory_type_name(type);
        V_FreeBitmap(&record_);
        throw OperationError(std::string("asked for ") + kind.name + " storage, got " + got);
    }
}

void Bitmap::create(const PictureInfo& info, uint32_t request, void* data)
{
    check(V_CreateBitmap(&record_, BITMAPHANDLE_SIZE, request, info.width, info.height, info.bits, info.order,
                         info.palette.empty() ? nullptr : info.palette.data(), info.orientation, data,
                         data == nullptr ? 0 : info.data_bytes()),
          "allocating the bitmap");
    if (info.x_resolution > 0 && info.y_resolution > 0) {
        record_.XResolution = info.x_resolution;
        record_.YResolution = info.y_resolution;
    }
}

/** A record that is given a movable block as its storage; the library then locks, unlocks and frees it. */
void Bitmap::create_global(const PictureInfo& info)
{
    check(V_InitBitmap(&record_, BITMAPHANDLE_SIZE, info.width, info.height, info.bits), "describing the bitmap");
    record_.ViewPerspective = info.orientation;
    record_.Order = info.order;
    HGLOBAL const block = GlobalAlloc(GHND, static_cast<size_t>(info.data_bytes()));
    if (block == nullptr) {
        throw_library_error(V_ERROR_NO_MEMORY, "allocating a global block");
    }
    record_.Handle = block;
    record_.Flags |= BITMAPFLAG_ALLOCATED | BITMAPFLAG_CONVENTIONALMEMORY | BITMAPFLAG_GLOBAL;
    if (!info.palette.empty()) {
        record_.Palette = V_CreateNewPalette(info.palette.data(), static_cast<uint32_t>(info.palette.size()));
        if (record_.Palette == nullptr) {
            V_FreeBitmap(&record_);
            throw_library_error(V_ERROR_NO_MEMORY, "copying the palette");
        }
    }
}

void Bitmap::turn_upright()
{
    if (record_.ViewPerspective != TOP_LEFT) {
        check(V_ChangeBitmapViewPerspective(nullptr, &record_, BITMAPHANDLE_SIZE, TOP_LEFT), "turning it upright");
    }
}

void Bitmap::take_notes(const PictureInfo& info)
{
    profile = info.profile;
    frame_ = info.frame;
    knows_resolution_ = info.x_resolution > 0 && info.y_resolution > 0;
    frame_width_ = info.width;
    frame_height_ = info.height;
}

std::optional<Frame> Bitmap::frame() const
{
    std::optional<Frame> frame = frame_;
    if (frame && (record_.Width != frame_width_ || record_.Height != frame_height_)) {
        frame->left = frame->top = 0;
        frame->canvas_width = record_.Width;
        frame->canvas_height = record_.Height;
    }
    return frame;
}

MemoryInfo Bitmap::memory_info()
{
    MemoryInfo info;
    check(V_GetBitmapMemoryInfo(&record_, &info.type, &info.tile_bytes, &info.tiles, &info.tiles_in_memory,
                                &info.tiles_in_file, &info.mapped_tiles),
          "asking where the bitmap is stored");
    return info;
}

uint64_t Bitmap::stored_bytes()
{
    check(V_UpdateBitmapSize(&record_), "counting the stored bytes");
    return record_.Size;
}

Access::Access(BITMAPHANDLE& bitmap) : bitmap_(bitmap)
{
    check(V_AccessBitmap(&bitmap), "accessing the bitmap");
}

void Access::put(int32_t row, int32_t column, const uint8_t* bytes, size_t count)
{
    const intptr_t moved = V_PutBitmapRowCol(&bitmap_, bytes, row, column, count);
    if (moved != static_cast<intptr_t>(count)) {
        throw_library_error(moved, "putting row " + std::to_string(row));
    }
}

void Access::get(int32_t row, uint8_t* bytes, size_t count)
{
    const intptr_t moved = V_GetBitmapRow(&bitmap_, bytes, row, count);
    if (moved != static_cast<intptr_t>(count)) {
        throw_library_error(moved, "getting row " + std::to_string(row));
    }
}

} // namespace vk::tool
