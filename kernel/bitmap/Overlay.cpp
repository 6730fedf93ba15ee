#include "kernel/bitmap/Overlay.h"

#include "kernel/bitmap/Alloc.h"
#include "kernel/bitmap/Duplicate.h"
#include "kernel/bitmap/OverlayCopies.h"
#include "kernel/bitmap/Record.h"
#include "kernel/bitmap/Region.h"
#include "kernel/rows/Locks.h"
#include "kernel/system/Blocks.h"
#include "kernel/system/Checks.h"

#include <algorithm>

namespace vk {

OverlayTable* require_overlays(BITMAPHANDLE& bitmap) noexcept
{
    if (bitmap.Overlays)
        return static_cast<OverlayTable*>(bitmap.Overlays);
    auto* const table = static_cast<OverlayTable*>(locked_block_alloc(sizeof(OverlayTable)));
    if (!table)
        return nullptr;
    for (BITMAPHANDLE& slot : table->bitmaps)
        clear_record(slot, kRecordSize);
    std::fill_n(table->attributes, kOverlaySlots, kOverlayAttributes);
    bitmap.Overlays = table;
    return table;
}

void clear_overlay(BITMAPHANDLE& bitmap, int index) noexcept
{
    auto* const table = static_cast<OverlayTable*>(bitmap.Overlays);
    if (!table)
        return;
    free_bitmap(table->bitmaps[index]);
    clear_record(table->bitmaps[index], kRecordSize);
    table->attributes[index] = kOverlayAttributes;
}

void free_overlays(BITMAPHANDLE& bitmap) noexcept
{
    auto* const table = static_cast<OverlayTable*>(bitmap.Overlays);
    if (!table)
        return;
    bitmap.Overlays = nullptr;
    for (BITMAPHANDLE& slot : table->bitmaps)
        free_bitmap(slot);
    locked_block_free(table);
}

namespace {

/// Makes a 1-bit bitmap of the pixels of another, resized.
int make_scaled(BITMAPHANDLE& made, BITMAPHANDLE& from, int32_t width, int32_t height) noexcept
{
    AreaBuilder set;
    AreaBuilder scaled;
    BitmapAccess access(from);
    int result = access.result() == V_SUCCESS ? area_of_mask(from, BitsToArea(set)) : access.result();
    if (result == V_SUCCESS && !scale_area(set.area(), from.Width, from.Height, width, height, scaled))
        result = V_ERROR_NO_MEMORY;
    if (result == V_SUCCESS)
        result = make_like(made, from, kRecordSize, {width, height, 1}, DUPFLAG_PALETTE);
    if (result != V_SUCCESS)
        return result;
    BitmapAccess made_access(made);
    result = made_access.result() == V_SUCCESS ? draw_area(scaled.area(), made) : made_access.result();
    return first_failure(result, made_access.release());
}

} // namespace

int scale_overlays(const BITMAPHANDLE& bitmap, int32_t width, int32_t height, OverlayCopies& copies) noexcept
{
    return copies.make(bitmap, [&](BITMAPHANDLE& to, BITMAPHANDLE& from) noexcept {
        return covers(from, bitmap) && from.BitsPerPixel == 1 ? make_scaled(to, from, width, height)
                                                              : copy_bitmap(to, from, kRecordSize);
    });
}

} // namespace vk
