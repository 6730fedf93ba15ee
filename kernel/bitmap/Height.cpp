// Height and size of stored bitmaps.
#include "kernel/bitmap/MemoryInfo.h"

#include "kernel/system/Checks.h"
#include "kernel/rows/RowCol.h"
#include "kernel/storage/Storage.h"

namespace vk {

namespace {

/// The size that a height change leaves in the record.
uint64_t size_after(const BITMAPHANDLE& bitmap, const Store& store) noexcept
{
    switch (store.size_after) {
    case SizeAfter::recounted:
        return store.calls.recount(bitmap);
    case SizeAfter::plain:
        return plain_size(bitmap);
    case SizeAfter::with_gap:
        return plain_size(bitmap) + static_cast<uint64_t>(bitmap.DataOffset);
    }
    return 0;
}

} // namespace

int change_height(BITMAPHANDLE& bitmap, int32_t height) noexcept
{
    const Store* const store = store_of(bitmap);
    const int result = store ? store->calls.resize(bitmap, height) : V_ERROR_NO_MEMORY;
    if (result != V_SUCCESS)
        return result == V_ERROR_INVALID_FILENAME ? result : V_ERROR_NO_MEMORY;
    bitmap.Height = height;
    set_data_size(bitmap, size_after(bitmap, *store));
    return V_SUCCESS;
}

} // namespace vk
