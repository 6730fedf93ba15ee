#include "kernel/bitmap/Callbacks.h"

#include "kernel/system/Checks.h"
#include "platform/platform.h"

namespace vk {

namespace {

// Process-wide and unguarded: set before other threads allocate.
V_ALLOCATEBITMAPCALLBACK g_allocate_callback = nullptr;
void* g_allocate_user_data = nullptr;
REGIONCOPYHOOKS g_region_hooks = {};

ALLOCATEBITMAPCALLBACKDATA describe_request(const BITMAPHANDLE& bitmap, uint32_t memory,
                                            const RGBQUAD* palette) noexcept
{
    ALLOCATEBITMAPCALLBACKDATA request = {};
    request.StructSize = sizeof request;
    request.Memory = memory;
    request.Width = bitmap.Width;
    request.Height = bitmap.Height;
    request.BitsPerPixel = bitmap.BitsPerPixel;
    request.Order = bitmap.Order;
    request.ViewPerspective = bitmap.ViewPerspective;
    request.Size = data_size(bitmap);
    request.Palette = palette;
    return request;
}

} // namespace

AllocateCallback exchange_allocate_callback(const AllocateCallback& callback) noexcept
{
    const AllocateCallback before{g_allocate_callback, g_allocate_user_data};
    g_allocate_callback = callback.function;
    g_allocate_user_data = callback.user_data;
    return before;
}

void set_region_hooks(const REGIONCOPYHOOKS& hooks) noexcept
{
    g_region_hooks = hooks;
}

int ask_allocate_callback(BITMAPHANDLE& bitmap, uint32_t& memory, const RGBQUAD* palette) noexcept
{
    if (!g_allocate_callback)
        return V_SUCCESS;
    ALLOCATEBITMAPCALLBACKDATA request = describe_request(bitmap, memory, palette);
    const int result = g_allocate_callback(&bitmap, &request, g_allocate_user_data);
    memory = request.Memory;
    return result;
}

int ask_data_callback(BITMAPHANDLE& bitmap, uint32_t& memory, const RGBQUAD* palette) noexcept
{
    const BITMAPDATACALLBACKS* const calls = data_callbacks(bitmap);
    if (!calls || !calls->AllocateBitmapDataCallback)
        return V_SUCCESS;
    bitmap.Handle = nullptr;
    bitmap.Data = nullptr;
    ALLOCATEBITMAPCALLBACKDATA request = describe_request(bitmap, memory, palette);
    request.BytesPerLine = bitmap.BytesPerLine;
    const int result = calls->AllocateBitmapDataCallback(&bitmap, &request, calls->UserData);
    memory = request.Memory;
    return result;
}

int set_data_callbacks(BITMAPHANDLE& bitmap, const BITMAPDATACALLBACKS* callbacks) noexcept
{
    if (!is_current(bitmap)) // an earlier record has none to remove and cannot take any
        return callbacks ? V_ERROR_INVALID_STRUCT_SIZE : V_SUCCESS;
    BITMAPDATACALLBACKS* copy = nullptr;
    if (callbacks) {
        copy = static_cast<BITMAPDATACALLBACKS*>(platform::heap_alloc(sizeof *copy));
        if (!copy)
            return V_ERROR_NO_MEMORY;
        *copy = *callbacks;
    }
    free_data_callbacks(bitmap);
    bitmap.DataCallbacks = copy;
    return V_SUCCESS;
}

void free_data_callbacks(BITMAPHANDLE& bitmap) noexcept
{
    if (!is_current(bitmap))
        return;
    platform::heap_free(bitmap.DataCallbacks);
    bitmap.DataCallbacks = nullptr;
}

int ask_scale_hook(BITMAPHANDLE& bitmap, int32_t width, int32_t height) noexcept
{
    const REGIONHOOKS& hooks = g_region_hooks.Hooks;
    return bitmap.RgnInfo && hooks.ScaleRegion ? hooks.ScaleRegion(&bitmap, width, height, hooks.UserData) : V_SUCCESS;
}

int ask_reverse_hooks(BITMAPHANDLE& bitmap, bool flip, bool mirror) noexcept
{
    const REGIONHOOKS& hooks = g_region_hooks.Hooks;
    const bool flips = flip && bitmap.RgnInfo && hooks.FlipRegion;
    int result = flips ? hooks.FlipRegion(&bitmap, hooks.UserData) : V_SUCCESS;
    if (result != V_SUCCESS || !mirror || !bitmap.RgnInfo || !hooks.ReverseRegion)
        return result;
    result = hooks.ReverseRegion(&bitmap, hooks.UserData);
    if (result != V_SUCCESS && flips)
        hooks.FlipRegion(&bitmap, hooks.UserData); // back
    return result;
}

int ask_copy_hook(BITMAPHANDLE& made, BITMAPHANDLE& source) noexcept
{
    const REGIONHOOKS& hooks = g_region_hooks.Hooks;
    if (source.RgnInfo && g_region_hooks.CopyRegion)
        return g_region_hooks.CopyRegion(&made, &source, hooks.UserData);
    if (!hooks.FreeRegion)
        made.RgnInfo = source.RgnInfo;
    return V_SUCCESS;
}

void ask_free_hook(BITMAPHANDLE& bitmap) noexcept
{
    const REGIONHOOKS& hooks = g_region_hooks.Hooks;
    if (bitmap.RgnInfo && hooks.FreeRegion)
        hooks.FreeRegion(&bitmap, hooks.UserData);
}

} // namespace vk
