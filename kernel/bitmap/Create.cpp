// Creation: initialising a record, allocating its storage and giving it a palette, in one call that leaves nothing
// behind when it fails.
#include "kernel/bitmap/Create.h"

#include "kernel/bitmap/Alloc.h"
#include "kernel/bitmap/Record.h"
#include "kernel/format/Depths.h"
#include "kernel/palette/Palette.h"
#include "kernel/system/Checks.h"

namespace vk {

namespace {

constexpr int32_t kGrayDepth = 8; ///< what 0 bits per pixel stands for

int32_t depth_asked(const Creation& creation) noexcept
{
    return creation.bits == 0 ? kGrayDepth : creation.bits;
}

bool wants_gray_palette(const Creation& creation) noexcept
{
    return creation.bits == 0 || (creation.order == COLORORDER_GRAY && !creation.palette);
}

RGBQUAD* make_palette(const Creation& creation) noexcept
{
    const int32_t bits = depth_asked(creation);
    if (wants_gray_palette(creation))
        return new_gray_palette(bits);
    return new_palette(creation.palette ? creation.palette : fixed_palette(bits), 1u << bits);
}

int give_colors(BITMAPHANDLE& bitmap, const Creation& creation) noexcept
{
    if (!is_indexed(depth_asked(creation))) {
        bitmap.Order = creation.order;
        return V_SUCCESS;
    }
    bitmap.Order = COLORORDER_RGB;
    bitmap.Palette = make_palette(creation);
    return bitmap.Palette ? V_SUCCESS : V_ERROR_NO_MEMORY;
}

/// The order that allocation callbacks see.
int32_t order_of(const Creation& creation) noexcept
{
    const bool indexed_gray =
        is_indexed(depth_asked(creation)) && creation.order == COLORORDER_GRAY && !creation.palette;
    return creation.bits == 0 || indexed_gray ? COLORORDER_RGB : creation.order;
}

int set_view(BITMAPHANDLE& bitmap, int32_t perspective) noexcept
{
    if (perspective < 0 || perspective > 8)
        return V_ERROR_INVALID_PARAMETER;
    bitmap.ViewPerspective = perspective == 0 ? TOP_LEFT : perspective;
    return V_SUCCESS;
}

/// Everything after initialisation; a failure leaves parts for the caller to free.
int create_initialised(BITMAPHANDLE& bitmap, const Creation& creation) noexcept
{
    const int32_t depth = depth_asked(creation);
    bitmap.Order = order_of(creation);
    if (bitmap.Order == COLORORDER_ROMM && !has_order(depth, COLORORDER_ROMM))
        return V_ERROR_INVALID_BITS_PER_PIXEL;
    int result = set_view(bitmap, creation.perspective);
    if (result == V_SUCCESS)
        result = allocate_bitmap(bitmap, creation.memory, creation.palette, creation.pixels);
    if (result == V_SUCCESS)
        result = give_colors(bitmap, creation);
    // A callback may have changed the request, and then the caller's memory need not fit.
    if (result == V_SUCCESS && creation.memory & TYPE_USER && creation.data)
        result = set_data_pointer(bitmap, creation.data, creation.data_bytes);
    return result;
}

} // namespace

int create_bitmap(BITMAPHANDLE& bitmap, uint32_t struct_size, const Creation& creation) noexcept
{
    int result =
        init_bitmap(bitmap, struct_size, creation.width, creation.height, depth_asked(creation), creation.callbacks);
    if (result == V_SUCCESS) {
        result = create_initialised(bitmap, creation);
        if (result != V_SUCCESS)
            free_bitmap(bitmap);
    }
    if (result != V_SUCCESS)
        clear_record(bitmap, struct_size);
    return result;
}

} // namespace vk
