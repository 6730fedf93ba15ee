// Freeing a bitmap: its storage and every block that hangs on the record.
#include "kernel/bitmap/Alloc.h"
#include "kernel/bitmap/Callbacks.h"
#include "kernel/bitmap/ExtraData.h"
#include "kernel/bitmap/Overlay.h"
#include "kernel/bitmap/Region.h"
#include "kernel/dither/Dither.h"
#include "kernel/palette/Palette.h"
#include "kernel/storage/Storage.h"
#include "kernel/system/Blocks.h"
#include "kernel/system/Checks.h"
#include "kernel/system/Trace.h"
#include "platform/platform.h"

namespace vk {

namespace {

/// Result of a free callback that freed the storage itself.
constexpr int kDoneByCallback = 2;

/// Frees a table of the record by value: its field must not be bound, the record is packed.
template <typename T> void free_table(T* table) noexcept
{
    locked_block_free(table);
}

void free_gray_tables(BITMAPHANDLE& bitmap) noexcept
{
    free_table(bitmap.LUT);
    bitmap.LUT = nullptr;
    bitmap.LUTLength = 0;
    bitmap.LUTLength16 = 0;
    free_table(bitmap.PaintLUT);
    bitmap.PaintLUT = nullptr;
    bitmap.Flags &= ~(BITMAPFLAG_USELUT | BITMAPFLAG_USEPAINTLUT);
    if (!is_current(bitmap))
        return;
    free_table(bitmap.LUT16);
    bitmap.LUT16 = nullptr;
    free_table(bitmap.PaintLUT16);
    bitmap.PaintLUT16 = nullptr;
}

void tell_free_callback(BITMAPHANDLE& bitmap) noexcept
{
    const BITMAPDATACALLBACKS* const calls = data_callbacks(bitmap);
    if (calls && calls->FreeBitmapDataCallback &&
        calls->FreeBitmapDataCallback(&bitmap, calls->UserData) == kDoneByCallback)
        forget_storage(bitmap);
}

} // namespace

void free_bitmap(BITMAPHANDLE& bitmap) noexcept
{
    if (is_current(bitmap) && bitmap.LockCount != 0)
        trace::lock_count("V_FreeBitmap", bitmap.LockCount);
    free_region(bitmap);
    stop_dithering(bitmap);
    free_palette(bitmap.Palette);
    bitmap.Palette = nullptr;
    free_overlays(bitmap);
    if (bitmap.Flags & BITMAPFLAG_ALLOCATED) {
        tell_free_callback(bitmap);
        free_storage(bitmap);
        bitmap.Flags &= ~BITMAPFLAG_ALLOCATED;
        set_data_size(bitmap, plain_size(bitmap)); // a compressed bitmap had its stored bytes here
        free_gray_tables(bitmap);
        free_extra_data(bitmap);
    }
    free_data_callbacks(bitmap);
}

} // namespace vk
