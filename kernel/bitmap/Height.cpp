// Height and size of stored bitmaps.
#include "kernel/bitmap/MemoryInfo.h"

#include "kernel/bitmap/Duplicate.h"
#include "kernel/bitmap/OverlayCopies.h"
#include "kernel/bitmap/Region.h"
#include "kernel/rows/RowCol.h"
#include "kernel/storage/Storage.h"
#include "kernel/system/Checks.h"

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
    BITMAPHANDLE kept = {}; // holds the region of the rows that stay
    kept.Width = bitmap.Width;
    kept.Height = height;
    OverlayCopies overlays;
    int result = store ? move_area(bitmap, kept, 0, 0) : V_ERROR_NO_MEMORY;
    if (result == V_SUCCESS)
        result = overlays.make(bitmap, [&](BITMAPHANDLE& to, BITMAPHANDLE& from) noexcept {
            const int copied = copy_bitmap(to, from, kRecordSize);
            return copied == V_SUCCESS && covers(from, bitmap) ? change_height(to, height) : copied;
        });
    if (result == V_SUCCESS)
        result = store->calls.resize(bitmap, height);
    if (result != V_SUCCESS) {
        drop_area(kept);
        return result == V_ERROR_INVALID_FILENAME ? result : V_ERROR_NO_MEMORY;
    }
    bitmap.Height = height;
    set_data_size(bitmap, size_after(bitmap, *store));
    take_area(bitmap, kept);
    overlays.give_to(bitmap);
    return V_SUCCESS;
}

} // namespace vk
