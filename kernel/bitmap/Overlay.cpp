#include "kernel/bitmap/Overlay.h"

#include "kernel/bitmap/Alloc.h"
#include "kernel/system/Blocks.h"
#include "kernel/system/Checks.h"
#include "kernel/bitmap/Record.h"

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
    bitmap.Overlays = table;
    return table;
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

} // namespace vk
