#include "kernel/view/Flip.h"

#include "Vkview.h"
#include "kernel/system/Checks.h"
#include "kernel/view/ViewPerspective.h"
#include "kernel/view/MirrorRow.h"
#include "kernel/view/Relayout.h"

namespace vk {

int flip_bitmap(BITMAPHANDLE& bitmap) noexcept
{
    Progress none(0);
    return change_layout(bitmap, kFlipped, none);
}

int mirror_bitmap(BITMAPHANDLE& bitmap) noexcept
{
    Progress progress(bitmap.Height);
    const int result = progress.begin();
    return result == V_SUCCESS ? change_layout(bitmap, kMirrored, progress) : result;
}

namespace {

/// The check of functions for which a null bitmap is no image either.
int check_image(const BITMAPHANDLE* bitmap) noexcept
{
    if (!bitmap)
        return V_ERROR_INVALID_IMAGE;
    const int result = check_record(bitmap);
    if (result != V_SUCCESS)
        return result;
    return bitmap->Flags & BITMAPFLAG_ALLOCATED ? V_SUCCESS : V_ERROR_INVALID_IMAGE;
}

} // namespace

} // namespace vk

using namespace vk;

int V_IntFlipBitmap(BITMAPHANDLE* pBitmap) noexcept
{
    const int result = check_image(pBitmap);
    return result == V_SUCCESS ? flip_bitmap(*pBitmap) : result;
}

int V_IntReverseBitmap(BITMAPHANDLE* pBitmap) noexcept
{
    const int result = check_image(pBitmap);
    return result == V_SUCCESS ? mirror_bitmap(*pBitmap) : result;
}

int V_FlipBitmap(BITMAPHANDLE* pBitmap) noexcept
{
    if (!pBitmap || !(pBitmap->Flags & BITMAPFLAG_ALLOCATED))
        return V_ERROR_INVALID_PARAMETER;
    if (!is_record_size(pBitmap->StructSize))
        return V_ERROR_INVALID_STRUCT_SIZE;
    return is_rotated_perspective(pBitmap->ViewPerspective) ? mirror_bitmap(*pBitmap) : flip_bitmap(*pBitmap);
}

int V_ReverseBitmap(BITMAPHANDLE* pBitmap) noexcept
{
    const int result = check_allocated(pBitmap);
    if (result != V_SUCCESS)
        return result;
    return is_rotated_perspective(pBitmap->ViewPerspective) ? flip_bitmap(*pBitmap) : mirror_bitmap(*pBitmap);
}

int V_MirrorLine(void* pRow, uint32_t uWidth, int32_t nBitsPerPixel) noexcept
{
    if (!pRow)
        return V_ERROR_INVALID_PARAMETER;
    mirror_row_in_place(static_cast<uint8_t*>(pRow), uWidth, nBitsPerPixel);
    return V_SUCCESS;
}

int V_RotateBitmap90(BITMAPHANDLE* pBitmap, int32_t nDirection) noexcept
{
    int result = check_image(pBitmap);
    if (result == V_SUCCESS && nDirection != 0 && nDirection != 1)
        result = V_ERROR_INVALID_PARAMETER;
    if (result != V_SUCCESS)
        return result;
    Progress progress(pBitmap->Height);
    result = progress.begin();
    const bool clockwise = (nDirection == 1) != is_mirrored_perspective(pBitmap->ViewPerspective);
    return result == V_SUCCESS ? quarter_turn_bitmap(*pBitmap, clockwise, progress) : result;
}
