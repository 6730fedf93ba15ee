// Where a bitmap's pixels live, and moving them elsewhere: between storage kinds, to other tiles, into and out of
// run-length rows. A move fills new storage beside the old and swaps it in at the end, so that a failure or a stopped
// operation leaves the bitmap as it was.
#include "kernel/bitmap/MemoryInfo.h"

#include "kernel/bitmap/Alloc.h"
#include "kernel/bitmap/Duplicate.h"
#include "kernel/format/RowMath.h"
#include "kernel/rows/Locks.h"
#include "kernel/rows/RowCol.h"
#include "kernel/storage/Storage.h"
#include "kernel/system/Checks.h"
#include "kernel/system/Progress.h"
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
        take_storage(bitmap, record_);
        set_data_size(bitmap, data_size(record_));
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
    const Store* const store = store_of(bitmap);
    if (is_lent(bitmap) && !store)
        return V_ERROR_FEATURE_NOT_SUPPORTED; // the pixels are with the data callbacks
    if (!store || bitmap.BytesPerLine == 0 || bitmap.Height < 1)
        return V_ERROR_INVALID_IMAGE;
    if (is_lent(bitmap) && !bitmap.Data)
        return V_ERROR_INVALID_IMAGE;
    return row_holds_width(bitmap.BytesPerLine, bitmap.Width, bitmap.BitsPerPixel) ? V_SUCCESS
                                                                                   : V_ERROR_INVALID_WIDTH_HEIGHT;
}

/// What V_SetBitmapMemoryInfo asks for.
struct Target {
    const Store* store;
    StoreRequest request;
};

int make_target(BITMAPHANDLE& staged, const void* context) noexcept
{
    const auto& target = *static_cast<const Target*>(context);
    return target.store->create(staged, target.request);
}

int make_default(BITMAPHANDLE& staged, const void*) noexcept
{
    return allocate_plain(staged, thread_state().default_memory_type);
}

const Store* store_compressing_by(int32_t compression) noexcept
{
    for (const Store& store : kStores)
        if (store.compression == compression)
            return &store;
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

int32_t best_compression(int32_t bits) noexcept
{
    int32_t best = 0;
    for (const Store& store : kStores) {
        if (store.compression == 0)
            continue;
        best = store.compression;
        if (store.holds(bits))
            break;
    }
    return best;
}

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
    if (result == V_SUCCESS && store_of(staged.record())->packs_late)
        recount_size(staged.record());
    if (result == V_SUCCESS)
        staged.commit_to(bitmap);
    return first_failure(result, released);
}

int change_memory(BITMAPHANDLE& bitmap, uint32_t memory, const TileArguments& arguments) noexcept
{
    const Store* const present = store_of(bitmap);
    Target target{arguments.flags & MEMORYINFO_MEMORY ? store_for(memory) : present, store_request(plain_size(bitmap))};
    if (!target.store || is_pinned(bitmap))
        return V_ERROR_INVALID_PARAMETER;
    if (!target.store->holds(bitmap.BitsPerPixel))
        return V_ERROR_INVALID_BITS_PER_PIXEL;
    if (!shape_tiles(bitmap, arguments, target.request))
        return V_ERROR_INVALID_PARAMETER;
    if (target.store == present && is_made_here(bitmap) && !present->has_tiles())
        return V_SUCCESS;
    return move_storage(bitmap, make_target, &target);
}

int change_compression(BITMAPHANDLE& bitmap, int32_t compression) noexcept
{
    const Target target{store_compressing_by(compression), store_request(plain_size(bitmap))};
    if (!target.store || is_lent(bitmap) || is_pinned(bitmap))
        return V_ERROR_INVALID_PARAMETER;
    if (compression == 0)
        return is_compressed(bitmap) ? move_storage(bitmap, make_default, nullptr) : V_SUCCESS;
    if (target.store == store_of(bitmap))
        return V_SUCCESS;
    if (!target.store->holds(bitmap.BitsPerPixel))
        return V_ERROR_INVALID_BITS_PER_PIXEL;
    return move_storage(bitmap, make_target, &target);
}

} // namespace vk
