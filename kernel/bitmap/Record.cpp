// Initialisation of records, and the layout they keep for everyone who reads them by position.
#include "kernel/bitmap/Record.h"

#include "kernel/bitmap/Callbacks.h"
#include "kernel/format/RowMath.h"
#include "kernel/system/Checks.h"
#include "kernel/system/ThreadState.h"

#include <cstring>

namespace vk {

namespace {

void set_colors(BITMAPHANDLE& bitmap, const Depth& depth) noexcept
{
    bitmap.Order = depth.usual_order;
    if (depth.indexed)
        bitmap.Colors = 1u << depth.bits;
    bitmap.PaintHighBit = depth.high_bit;
    bitmap.HighBit = depth.high_bit;
}

int32_t resolution(int32_t setting) noexcept
{
    return setting < 1 ? kDefaultResolution : setting;
}

void describe(BITMAPHANDLE& bitmap, int32_t width, int32_t height, int32_t bits) noexcept
{
    const ThreadState& defaults = thread_state();
    bitmap.Width = width;
    bitmap.Height = height;
    bitmap.BitsPerPixel = bits;
    bitmap.BytesPerLine = wrapping_bytes_per_line(width, bits);
    set_data_size(bitmap, plain_size(bitmap));
    bitmap.DitheringMethod = defaults.default_dithering;
    bitmap.ViewPerspective = BOTTOM_LEFT;
    set_colors(bitmap, depth_of(bits));
    bitmap.XResolution = resolution(defaults.default_x_resolution);
    bitmap.YResolution = resolution(defaults.default_y_resolution);
    bitmap.PaintGamma = 100;
}

} // namespace

void clear_record(BITMAPHANDLE& bitmap, uint32_t struct_size) noexcept
{
    std::memset(static_cast<void*>(&bitmap), 0, struct_size);
    bitmap.StructSize = struct_size;
}

int init_bitmap(BITMAPHANDLE& bitmap, uint32_t struct_size, int32_t width, int32_t height, int32_t bits,
                const BITMAPDATACALLBACKS* callbacks) noexcept
{
    clear_record(bitmap, struct_size);
    if (width == 0 && height == 0 && bits == 0)
        return V_SUCCESS;
    if (width < 0 || height < 0)
        return V_ERROR_INVALID_WIDTH_HEIGHT;
    if (!is_bitmap_depth(bits))
        return V_ERROR_INVALID_BITS_PER_PIXEL;
    const uint64_t size = uint64_t{wrapping_bytes_per_line(width, bits)} * static_cast<uint32_t>(height);
    if (!is_current(bitmap) && size > kEarlierSizeLimit)
        return V_ERROR_MEMORY_TOO_LARGE;
    describe(bitmap, width, height, bits);
    // A table that cannot be installed does not spoil the record; it has no callbacks then.
    if (!callbacks || callbacks->StructSize == sizeof *callbacks)
        set_data_callbacks(bitmap, size ? callbacks : nullptr);
    return V_SUCCESS;
}

} // namespace vk
