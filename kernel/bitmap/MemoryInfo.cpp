// Where a bitmap's pixels live, and moving them elsewhere: between storage kinds, to other tiles, into and out of
// run-length rows. A move fills new storage beside the old and swaps it in at the end, so that a failure or a stopped
// operation leaves the bitmap as it was.
#include "kernel/bitmap/MemoryInfo.h"

#include "kernel/bitmap/Alloc.h"
#include "kernel/system/Checks.h"
#include "kernel/bitmap/Duplicate.h"
#include "kernel/rows/Locks.h"
#include "kernel/system/Progress.h"
#include "kernel/rows/RowCol.h"
#include "kernel/format/RowMath.h"
#include "kernel/system/ThreadState.h"

#include <algorithm>

namespace vk {

namespace {

/// A record like the bitmap's with no storage, for new storage to be made on. Freed again unless its storage is taken.
class StagedStorage {
public:
    explicit StagedStorage(const BITMAPHANDLE& like) noexcept
    {
        record_.StructSize = kRecordSize;
        record_.Width = like.Width;
        record_.Height = like.Height;
        record_.BitsPerPixel = like.BitsPerPixel;
        record_.BytesPerLine = like.BytesPerLine;
        record_.Order = like.Order;
        set_data_size(record_, plain_size(like));
    }
    StagedStorage(const StagedStorage&) = delete;
    StagedStorage& operator=(const StagedStorage&) = delete;
    ~StagedStorage() { free_storage(record_); }

    BITMAPHANDLE& record() noexcept { return record_; }

    /// Frees the bitmap's storage and puts this one in its place.
    void commit_to(BITMAPHANDLE& bitmap) noexcept
    {
        free_storage(bitmap);
        bitmap.Handle = record_.Handle;
        bitmap.Data = record_.Data;
        bitmap.DataOffset = record_.DataOffset;
        bitmap.Flags |= record_.Flags & kStorageFlags;
        set_data_size(bitmap, data_size(record_));
        record_.Flags = 0;
    }

private:
    BITMAPHANDLE record_ = {};
};

/// Copies all rows, with progress.
int fill(BITMAPHANDLE& staged, BITMAPHANDLE& bitmap) noexcept
{
    Progress progress(bitmap.Height);
    const int result = progress.begin();
    return result == V_SUCCESS ? copy_rows(bitmap, staged, false, progress) : result;
}

int check_movable(const BITMAPHANDLE& bitmap) noexcept
{
    const Store* const store = store_of(bitmap.Flags);
    if (bitmap.Flags & BITMAPFLAG_MIRROR && !store)
        return V_ERROR_FEATURE_NOT_SUPPORTED; // the pixels are with the data callbacks
    if (!store || bitmap.BytesPerLine == 0 || bitmap.Height < 1)
        return V_ERROR_INVALID_IMAGE;
    if (bitmap.Flags & BITMAPFLAG_MIRROR && !bitmap.Data)
        return V_ERROR_INVALID_IMAGE;
    return row_holds_width(bitmap.BytesPerLine, bitmap.Width, bitmap.BitsPerPixel) ? V_SUCCESS
                                                                                   : V_ERROR_INVALID_WIDTH_HEIGHT;
}

/// What V_SetBitmapMemoryInfo asks for.
struct Target {
    const Store* store;
    StoreRequest request;
};

/// Whether a kind can hold pixels of a depth.
bool holds_depth(const Store* store, int32_t bits) noexcept
{
    if (store == &kCompressedStore)
        return bits == 1;
    return store != &kSuperCompressedStore || bits == 1 || bits == 8 || bits == 24;
}

int make_target(BITMAPHANDLE& staged, const void* context) noexcept
{
    const auto& target = *static_cast<const Target*>(context);
    return target.store->create(staged, target.request);
}

int make_default(BITMAPHANDLE& staged, const void*) noexcept
{
    return allocate_plain(staged, thread_state().default_memory_type);
}

const Store* store_for(uint32_t memory) noexcept
{
    for (const Store* store :
         {&kConventionalStore, &kTiledStore, &kDiskStore, &kCompressedStore, &kSuperCompressedStore})
        if (store->memory_type == memory)
            return store;
    return nullptr;
}

/// Turns the figures that are marked into a request. False when one is out of range.
bool shape_tiles(const BITMAPHANDLE& bitmap, const TileArguments& arguments, StoreRequest& request) noexcept
{
    const uint64_t line = bitmap.BytesPerLine;
    const auto height = static_cast<uint64_t>(bitmap.Height);
    if (arguments.flags & MEMORYINFO_TILESIZE) {
        if (arguments.tile_size < 1)
            return false;
        request.tile_bytes = static_cast<uint64_t>(arguments.tile_size);
    } else if (arguments.flags & MEMORYINFO_TILES) {
        if (arguments.tiles < 1)
            return false;
        const auto tiles = static_cast<uint64_t>(arguments.tiles);
        request.tile_bytes = (height + tiles - 1) / tiles * line;
    }
    if (arguments.flags & MEMORYINFO_CONVTILES) {
        if (arguments.memory_tiles < -100)
            return false;
        request.memory_tiles = arguments.memory_tiles;
    } else if (arguments.flags & MEMORYINFO_TILESLEFT) {
        const uint64_t rows = std::clamp<uint64_t>(request.tile_bytes / line, 1, height);
        const uint64_t tiles = (height + rows - 1) / rows;
        if (arguments.file_tiles < 0)
            return false;
        const uint64_t in_files = std::min<uint64_t>(static_cast<uint64_t>(arguments.file_tiles), tiles);
        request.memory_tiles = static_cast<int32_t>(std::min<uint64_t>(tiles - in_files, INT32_MAX));
    }
    if (arguments.flags & MEMORYINFO_CONVBUFFERS) {
        if (arguments.mapped_tiles < -100)
            return false;
        request.mapped_tiles = arguments.mapped_tiles;
    }
    return true;
}

} // namespace

int move_storage(BITMAPHANDLE& bitmap, MakeStorage make, const void* context) noexcept
{
    int result = check_movable(bitmap);
    if (result != V_SUCCESS)
        return result;
    StagedStorage staged(bitmap);
    result = make(staged.record(), context);
    if (result != V_SUCCESS)
        return result;
    BitmapAccess access(bitmap);
    result = access.result();
    if (result == V_SUCCESS)
        result = fill(staged.record(), bitmap);
    const int released = access.release();
    if (result == V_SUCCESS && V_BitmapIsSuperCompressed(&staged.record()))
        recount_size(staged.record()); // packs what the cache still holds
    if (result == V_SUCCESS)
        staged.commit_to(bitmap);
    return first_failure(result, released);
}

int change_memory(BITMAPHANDLE& bitmap, uint32_t memory, const TileArguments& arguments) noexcept
{
    const Store* const present = store_of(bitmap.Flags);
    Target target{arguments.flags & MEMORYINFO_MEMORY ? store_for(memory) : present, store_request(plain_size(bitmap))};
    if (!target.store || bitmap.Flags & BITMAPFLAG_LOCKED)
        return V_ERROR_INVALID_PARAMETER;
    if (!holds_depth(target.store, bitmap.BitsPerPixel))
        return V_ERROR_INVALID_BITS_PER_PIXEL;
    if (!shape_tiles(bitmap, arguments, target.request))
        return V_ERROR_INVALID_PARAMETER;
    const bool is_own = !(bitmap.Flags & (BITMAPFLAG_MIRROR | BITMAPFLAG_GLOBAL));
    if (target.store == present && is_own && present != &kTiledStore)
        return V_SUCCESS;
    return move_storage(bitmap, make_target, &target);
}

int change_compression(BITMAPHANDLE& bitmap, int32_t compression) noexcept
{
    const Store* const wanted[] = {nullptr, &kCompressedStore, &kSuperCompressedStore};
    if (compression < 0 || compression > 2 || bitmap.Flags & (BITMAPFLAG_MIRROR | BITMAPFLAG_LOCKED))
        return V_ERROR_INVALID_PARAMETER;
    const Store* const present = store_of(bitmap.Flags);
    const bool is_plain = present != &kCompressedStore && present != &kSuperCompressedStore;
    if (compression == 0)
        return is_plain ? V_SUCCESS : move_storage(bitmap, make_default, nullptr);
    const Target target{wanted[compression], store_request(plain_size(bitmap))};
    if (target.store == present)
        return V_SUCCESS;
    if (!holds_depth(target.store, bitmap.BitsPerPixel))
        return V_ERROR_INVALID_BITS_PER_PIXEL;
    return move_storage(bitmap, make_target, &target);
}

} // namespace vk
