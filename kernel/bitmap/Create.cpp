// Creation: initialising a record, allocating its storage and giving it a palette, in one call that leaves nothing
// behind when it fails.
#include "kernel/bitmap/Alloc.h"
#include "kernel/system/Checks.h"
#include "kernel/palette/Palette.h"
#include "kernel/bitmap/Record.h"

namespace vk {

namespace {

constexpr int32_t kGrayDepth = 8; ///< what 0 bits per pixel stands for

struct Creation {
    int32_t bits; ///< as given; 0 asks for 8-bit gray
    int32_t order;
    const RGBQUAD* palette;

    int32_t depth() const noexcept { return bits == 0 ? kGrayDepth : bits; }
    bool wants_gray_palette() const noexcept { return bits == 0 || (order == COLORORDER_GRAY && !palette); }
};

RGBQUAD* make_palette(const Creation& creation) noexcept
{
    const int32_t bits = creation.depth();
    if (creation.wants_gray_palette())
        return new_gray_palette(bits);
    return new_palette(creation.palette ? creation.palette : fixed_palette(bits), 1u << bits);
}

int give_colors(BITMAPHANDLE& bitmap, const Creation& creation) noexcept
{
    if (creation.depth() > 8) {
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
    const bool indexed_gray = creation.bits <= 8 && creation.order == COLORORDER_GRAY && !creation.palette;
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
int create_initialised(BITMAPHANDLE& bitmap, uint32_t memory, const Creation& creation, int32_t perspective) noexcept
{
    const int32_t depth = creation.depth();
    bitmap.Order = order_of(creation);
    if (bitmap.Order == COLORORDER_ROMM && depth != 24 && depth != 48)
        return V_ERROR_INVALID_BITS_PER_PIXEL;
    int result = set_view(bitmap, perspective);
    if (result == V_SUCCESS)
        result = allocate_bitmap(bitmap, memory, creation.palette);
    return result == V_SUCCESS ? give_colors(bitmap, creation) : result;
}

} // namespace

} // namespace vk

using namespace vk;

int V_CreateBitmap(BITMAPHANDLE* pBitmap, uint32_t uStructSize, uint32_t uMemory, int32_t nWidth, int32_t nHeight,
                   int32_t nBitsPerPixel, int32_t nOrder, const RGBQUAD* pPalette, int32_t nViewPerspective,
                   void* pData, uint64_t uDataSize) noexcept
{
    return V_CreateBitmapWithCallbacks(pBitmap, uStructSize, uMemory, nWidth, nHeight, nBitsPerPixel, nOrder, pPalette,
                                       nViewPerspective, pData, uDataSize, nullptr);
}

int V_CreateBitmapWithCallbacks(BITMAPHANDLE* pBitmap, uint32_t uStructSize, uint32_t uMemory, int32_t nWidth,
                                int32_t nHeight, int32_t nBitsPerPixel, int32_t nOrder, const RGBQUAD* pPalette,
                                int32_t nViewPerspective, void* pData, uint64_t uDataSize,
                                const BITMAPDATACALLBACKS* pCallbacks) noexcept
{
    if (!pBitmap)
        return V_ERROR_INVALID_PARAMETER;
    if (!is_record_size(uStructSize))
        return V_ERROR_INVALID_STRUCT_SIZE;
    const Creation creation{nBitsPerPixel, nOrder, pPalette};
    int result = init_bitmap(*pBitmap, uStructSize, nWidth, nHeight, creation.depth(), pCallbacks);
    if (result == V_SUCCESS) {
        result = create_initialised(*pBitmap, uMemory, creation, nViewPerspective);
        // A callback may have changed the request, and then the caller's memory need not fit.
        if (result == V_SUCCESS && uMemory & TYPE_USER && pData)
            result = V_SetBitmapDataPointer(pBitmap, pData, uDataSize);
        if (result != V_SUCCESS)
            free_bitmap(*pBitmap);
    }
    if (result != V_SUCCESS)
        clear_record(*pBitmap, uStructSize);
    return result;
}
