/**
 * @file Bitmap.h
 * A bitmap of the library with the shape of a picture, in storage of a chosen kind, and freed at the end of its life.
 */
#ifndef VK_TOOLS_BITMAP_H
#define VK_TOOLS_BITMAP_H

#include "include/Vkkrnx.h"
#include "tools/picture/Picture.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace vk::tool {

struct StorageKind {
    const char* name;
    uint32_t request;  ///< what allocation is asked for; 0: a movable block of our own
    uint32_t reported; ///< what V_GetBitmapMemoryInfo has to tell
};

/** The kinds' names, for messages. */
const char* storage_kind_names();
/** UsageError for a name that is none. */
const StorageKind& storage_kind(const std::string& name);
/** The name of a type that V_GetBitmapMemoryInfo reports. */
const char* memory_type_name(uint32_t type);

struct MemoryInfo {
    uint32_t type = 0;
    int64_t tile_bytes = 0;
    int32_t tiles = 0;
    int32_t tiles_in_memory = 0;
    int32_t tiles_in_file = 0;
    int32_t mapped_tiles = 0;
};

class Bitmap {
public:
    /** In storage of the thread's default memory type. */
    explicit Bitmap(const PictureInfo& info);
    /** In storage of a kind; OperationError when the library chooses another one. `tile_bytes` is for tiles. */
    Bitmap(const PictureInfo& info, const StorageKind& kind, std::optional<int64_t> tile_bytes);
    /** Takes a record over. */
    explicit Bitmap(const BITMAPHANDLE& record) : record_(record) {}
    ~Bitmap() { V_FreeBitmap(&record_); }
    Bitmap(const Bitmap&) = delete;
    Bitmap& operator=(const Bitmap&) = delete;

    BITMAPHANDLE& record() { return record_; }
    /** The record, with everything on it, becomes the caller's; this bitmap is none any more. */
    BITMAPHANDLE give_away() { return std::exchange(record_, {}); }
    /** Has the rows as they are displayed, top row first. */
    void turn_upright();
    /** Remembers what goes along with the pixels. */
    void take_notes(const PictureInfo& info);
    /** What it is as a frame; one of another size than it was read with is all of its canvas. */
    std::optional<Frame> frame() const;
    /** Whether the resolution is more than what a record has when nobody says. */
    bool knows_resolution() const { return knows_resolution_; }
    MemoryInfo memory_info();
    /** Bytes the pixels take where they are stored now. */
    uint64_t stored_bytes();

    std::vector<uint8_t> profile;  ///< of the colours; empty: none
    bool rows_as_they_are = false; ///< written without being turned upright

private:
    void create(const PictureInfo& info, uint32_t request, void* data);
    void create_global(const PictureInfo& info);

    BITMAPHANDLE record_{};
    std::unique_ptr<uint8_t[]> lent_; ///< pixels of user memory
    std::optional<Frame> frame_;      ///< for the size below
    bool knows_resolution_ = true;
    int32_t frame_width_ = 0;
    int32_t frame_height_ = 0;
};

/** Holds a bitmap accessed. */
class Access {
public:
    explicit Access(Bitmap& bitmap) : Access(bitmap.record()) {}
    explicit Access(BITMAPHANDLE& bitmap);
    ~Access() { V_ReleaseBitmap(&bitmap_); }
    Access(const Access&) = delete;
    Access& operator=(const Access&) = delete;

    void put(int32_t row, const uint8_t* bytes, size_t count) { put(row, 0, bytes, count); }
    void put(int32_t row, int32_t column, const uint8_t* bytes, size_t count);
    void get(int32_t row, uint8_t* bytes, size_t count);

private:
    BITMAPHANDLE& bitmap_;
};

} // namespace vk::tool

#endif
