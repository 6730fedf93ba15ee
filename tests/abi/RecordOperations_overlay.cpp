// Overlays.
#include "tests/abi/RecordOperations.h"

#include "Vkoverlay.h"

namespace vk::testing {

namespace {

/// An overlay from one bit of the bitmap's own size, and out again.
intptr_t in_and_out(B bitmap)
{
    return with_other(bitmap, [](B to, B made, uint32_t size) {
        BITMAPHANDLE picture{};
        int result = V_CreateBitmap(&picture, BITMAPHANDLE_SIZE, TYPE_CONV, 5, 3, 1, COLORORDER_RGB, nullptr, TOP_LEFT,
                                    nullptr, 0);
        if (result == SUCCESS)
            result = V_SetBitmapOverlay(to, 3, &picture, OVERLAY_COPY);
        V_FreeBitmap(&picture);
        return result == SUCCESS ? V_GetBitmapOverlay(to, 3, made, size, OVERLAY_COPY) : result;
    });
}

intptr_t attributes(B bitmap)
{
    V_OVERLAYATTRIBUTES said{};
    int result = V_GetBitmapOverlayAttributes(bitmap, 1, &said, sizeof said);
    said.nBit = 3;
    if (result == SUCCESS)
        result = V_SetBitmapOverlayAttributes(bitmap, 1, &said);
    return result;
}

intptr_t load(B bitmap)
{
    const intptr_t result = attributes(bitmap);
    return result == SUCCESS ? V_LoadBitmapOverlayBits(bitmap, 1) : result;
}

intptr_t store(B bitmap)
{
    const intptr_t result = load(bitmap);
    return result == SUCCESS ? V_StoreBitmapOverlayBits(bitmap, 1) : result;
}

} // namespace

const Family overlay_operations = {
    {"V_SetBitmapOverlay, V_GetBitmapOverlay", in_and_out, true, Failed::part_way},
    {"V_GetBitmapOverlayAttributes, V_SetBitmapOverlayAttributes", attributes},
    {"V_RemoveBitmapOverlay", [](B bitmap) -> intptr_t { return V_RemoveBitmapOverlay(bitmap, 1); }},
    {"V_LoadBitmapOverlayBits", load},
    {"V_StoreBitmapOverlayBits", store},
    {"V_FlattenBitmapOverlays",
     [](B bitmap) -> intptr_t {
         return with_other(bitmap,
                           [](B from, B made, uint32_t size) { return V_FlattenBitmapOverlays(made, from, size); });
     }},
};

} // namespace vk::testing
