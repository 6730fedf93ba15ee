// Height and size of stored bitmaps.
#include "kernel/bitmap/MemoryInfo.h"

#include "kernel/system/Checks.h"
#include "kernel/rows/RowCol.h"
#include "kernel/storage/Store.h"

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
    const int result = store ? store->resize(bitmap, height) : V_ERROR_NO_MEMORY;
    if (result != V_SUCCESS)
        return result == V_ERROR_INVALID_FILENAME ? result : V_ERROR_NO_MEMORY;
    bitmap.Height = height;
    set_data_size(bitmap, size_after(bitmap, *store));
    return V_SUCCESS;
}

} // namespace vk
