// Height and size of stored bitmaps.
#include "kernel/bitmap/MemoryInfo.h"

#include "kernel/bitmap/Region.h"
#include "kernel/rows/RowCol.h"
#include "kernel/storage/Store.h"
#include "kernel/system/Checks.h"

namespace vk {

namespace {

/// The size that a height change leaves in the record. For memory it counts the gap in front of the first row, on
/// purpose; a file has none.
uint64_t size_after(const BITMAPHANDLE& bitmap, const Store& store) noexcept
{
    if (bitmap.Flags & BITMAPFLAG_COMPRESSED)
        return store.recount(bitmap);
    if (bitmap.Flags & BITMAPFLAG_DISKMEMORY)
        return plain_size(bitmap);
    return plain_size(bitmap) + static_cast<uint64_t>(bitmap.DataOffset);
}

} // namespace

int change_height(BITMAPHANDLE& bitmap, int32_t height) noexcept
{
    const Store* const store = store_of(bitmap.Flags);
    BITMAPHANDLE kept = {}; // holds the region of the rows that stay
    kept.Width = bitmap.Width;
    kept.Height = height;
    int result = store ? move_area(bitmap, kept, 0, 0) : V_ERROR_NO_MEMORY;
    if (result == V_SUCCESS)
        result = store->resize(bitmap, height);
    if (result != V_SUCCESS) {
        drop_area(kept);
        return result == V_ERROR_INVALID_FILENAME ? result : V_ERROR_NO_MEMORY;
    }
    bitmap.Height = height;
    set_data_size(bitmap, size_after(bitmap, *store));
    take_area(bitmap, kept);
    return V_SUCCESS;
}

} // namespace vk
