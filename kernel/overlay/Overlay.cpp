// The overlay family's door: pictures over bitmaps.
//
// Inside: OverlaySlots.cpp lays pictures over bitmaps, OverlayPixels.cpp goes between them and the pixels below. The
// table of slots is kernel/bitmap/Overlay.h; whatever moves pixels takes overlays along (kernel/bitmap/OverlayCopies.h,
// kernel/view/OverlayChange.h).
#include "Vkoverlay.h"

#include "kernel/bitmap/Alloc.h"
#include "kernel/bitmap/Duplicate.h"
#include "kernel/bitmap/Record.h"
#include "kernel/colorres/GrayScale.h"
#include "kernel/overlay/OverlaySlots.h"
#include "kernel/rows/RowAccess.h"
#include "kernel/system/Checks.h"
#include "kernel/view/ViewPerspective.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace vk {

namespace {

constexpr int32_t kHighestBit = 31;

bool is_slot(int32_t index) noexcept
{
    return index >= 0 && index < kOverlaySlots;
}

int check_slot(const BITMAPHANDLE* bitmap, int32_t index) noexcept
{
    const int result = check_record(bitmap);
    return result == V_SUCCESS && !is_slot(index) ? V_ERROR_INVALID_PARAMETER : result;
}

int check_picture(const BITMAPHANDLE* bitmap, const BITMAPHANDLE* overlay) noexcept
{
    int result = check_allocated(overlay);
    if (result == V_SUCCESS && overlay->BitsPerPixel != 1)
        result = V_ERROR_INVALID_BITS_PER_PIXEL;
    const int32_t own = bitmap->ViewPerspective, other = overlay ? +overlay->ViewPerspective : own;
    if (result == V_SUCCESS && own != other && !(is_perspective(own) && is_perspective(other)))
        result = V_ERROR_INVALID_PARAMETER;
    return result == V_SUCCESS ? check_rows(*overlay) : result;
}

const V_OVERLAYATTRIBUTES& attributes_of(const BITMAPHANDLE& bitmap, int32_t index) noexcept
{
    const auto* const table = static_cast<const OverlayTable*>(bitmap.Overlays);
    return table ? table->attributes[index] : kOverlayAttributes;
}

/// The checks of what goes between a slot and its bit of the samples.
int check_bit(const BITMAPHANDLE* bitmap, int32_t index) noexcept
{
    int result = check_allocated(bitmap);
    if (result == V_SUCCESS && !is_slot(index))
        result = V_ERROR_INVALID_PARAMETER;
    if (result == V_SUCCESS && (gray_kind(*bitmap) == GrayKind::none || bitmap->BitsPerPixel < 8))
        result = V_ERROR_INVALID_BITS_PER_PIXEL;
    if (result != V_SUCCESS)
        return result;
    const int32_t bit = attributes_of(*bitmap, index).nBit;
    return bit < 0 || bit >= bitmap->BitsPerPixel ? V_ERROR_INVALID_PARAMETER : check_rows(*bitmap);
}

bool are_attributes(const V_OVERLAYATTRIBUTES& said) noexcept
{
    const bool has_end = std::find(std::begin(said.Label), std::end(said.Label), '\0') != std::end(said.Label);
    return (said.Flags & ~OVERLAYFLAG_VISIBLE) == 0 && said.Color >> 24 == 0 && said.nBit >= OVERLAY_NOBIT &&
           said.nBit <= kHighestBit && has_end;
}

int get_overlay(BITMAPHANDLE& bitmap, int32_t index, BITMAPHANDLE& made, uint32_t struct_size, bool moves) noexcept
{
    BITMAPHANDLE* const slot = overlay_in(bitmap, index);
    if (!slot)
        return V_ERROR_INVALID_PARAMETER;
    if (!moves || struct_size != kRecordSize) {
        const int result = copy_bitmap(made, *slot, struct_size);
        if (result != V_SUCCESS || !moves)
            return result;
    } else {
        std::memcpy(static_cast<void*>(&made), slot, kRecordSize);
        clear_record(*slot, kRecordSize);
    }
    clear_overlay(bitmap, index);
    return V_SUCCESS;
}

} // namespace

} // namespace vk

using namespace vk;

int V_SetBitmapOverlay(BITMAPHANDLE* pBitmap, int32_t nIndex, BITMAPHANDLE* pOverlay, uint32_t uFlags) noexcept
{
    int result = check_allocated(pBitmap);
    if (result == V_SUCCESS && (!pOverlay || pOverlay == pBitmap || !is_slot(nIndex) || uFlags > OVERLAY_MOVE))
        result = V_ERROR_INVALID_PARAMETER;
    if (result == V_SUCCESS)
        result = check_picture(pBitmap, pOverlay);
    if (result == V_SUCCESS)
        result = check_rows(*pBitmap);
    return result == V_SUCCESS ? set_overlay(*pBitmap, nIndex, *pOverlay, uFlags == OVERLAY_MOVE) : result;
}

int V_GetBitmapOverlay(BITMAPHANDLE* pBitmap, int32_t nIndex, BITMAPHANDLE* pOverlay, uint32_t uStructSize,
                       uint32_t uFlags) noexcept
{
    int result = check_duplicate(pOverlay, pBitmap, uStructSize);
    if (result != V_SUCCESS)
        return result;
    result = is_slot(nIndex) && uFlags <= OVERLAY_MOVE ? V_SUCCESS : V_ERROR_INVALID_PARAMETER;
    if (result == V_SUCCESS)
        result = get_overlay(*pBitmap, nIndex, *pOverlay, uStructSize, uFlags == OVERLAY_MOVE);
    if (result != V_SUCCESS)
        clear_record(*pOverlay, uStructSize);
    return result;
}

int V_RemoveBitmapOverlay(BITMAPHANDLE* pBitmap, int32_t nIndex) noexcept
{
    const int result = check_slot(pBitmap, nIndex);
    if (result == V_SUCCESS)
        clear_overlay(*pBitmap, nIndex);
    return result;
}

int V_GetBitmapOverlayAttributes(BITMAPHANDLE* pBitmap, int32_t nIndex, V_OVERLAYATTRIBUTES* pAttributes,
                                 uint32_t uStructSize) noexcept
{
    const int result = check_slot(pBitmap, nIndex);
    if (result != V_SUCCESS || !pAttributes)
        return result == V_SUCCESS ? V_ERROR_INVALID_PARAMETER : result;
    if (uStructSize != sizeof *pAttributes)
        return V_ERROR_INVALID_STRUCT_SIZE;
    *pAttributes = attributes_of(*pBitmap, nIndex);
    return V_SUCCESS;
}

int V_SetBitmapOverlayAttributes(BITMAPHANDLE* pBitmap, int32_t nIndex, const V_OVERLAYATTRIBUTES* pAttributes) noexcept
{
    const int result = check_slot(pBitmap, nIndex);
    if (result != V_SUCCESS || !pAttributes)
        return result == V_SUCCESS ? V_ERROR_INVALID_PARAMETER : result;
    if (pAttributes->StructSize != sizeof *pAttributes)
        return V_ERROR_INVALID_STRUCT_SIZE;
    if (!are_attributes(*pAttributes))
        return V_ERROR_INVALID_PARAMETER;
    OverlayTable* const table = require_overlays(*pBitmap);
    if (!table)
        return V_ERROR_NO_MEMORY;
    table->attributes[nIndex] = *pAttributes;
    return V_SUCCESS;
}

int V_LoadBitmapOverlayBits(BITMAPHANDLE* pBitmap, int32_t nIndex) noexcept
{
    const int result = check_bit(pBitmap, nIndex);
    return result == V_SUCCESS ? load_overlay_bits(*pBitmap, nIndex, attributes_of(*pBitmap, nIndex).nBit) : result;
}

int V_StoreBitmapOverlayBits(BITMAPHANDLE* pBitmap, int32_t nIndex) noexcept
{
    int result = check_bit(pBitmap, nIndex);
    const BITMAPHANDLE* const overlay = result == V_SUCCESS ? overlay_in(*pBitmap, nIndex) : nullptr;
    if (result == V_SUCCESS && !(overlay && covers(*overlay, *pBitmap)))
        result = V_ERROR_INVALID_PARAMETER;
    return result == V_SUCCESS ? store_overlay_bits(*pBitmap, nIndex, attributes_of(*pBitmap, nIndex).nBit) : result;
}

int V_FlattenBitmapOverlays(BITMAPHANDLE* pDst, BITMAPHANDLE* pSrc, uint32_t uStructSize) noexcept
{
    const bool replaces = !pDst || pDst == pSrc;
    int result = replaces ? check_allocated(pSrc) : check_duplicate(pDst, pSrc, uStructSize);
    if (result != V_SUCCESS)
        return result;
    result = check_rows(*pSrc);
    if (!replaces) {
        if (result == V_SUCCESS)
            return flatten_overlays(*pDst, *pSrc, uStructSize);
        clear_record(*pDst, uStructSize);
        return result;
    }
    BITMAPHANDLE made = {};
    const uint32_t size = pSrc->StructSize;
    if (result == V_SUCCESS)
        result = flatten_overlays(made, *pSrc, size);
    if (result != V_SUCCESS)
        return result;
    free_bitmap(*pSrc);
    std::memcpy(static_cast<void*>(pSrc), &made, size);
    return V_SUCCESS;
}
