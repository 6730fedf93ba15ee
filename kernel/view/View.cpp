// The view family's door: flips, reverses and quarter turns of what a bitmap shows, and its view perspective.
//
// Inside: Relayout.h is the one operation behind all of them; Reverse.h exchanges rows and pixels where they are, and
// what becomes columns is made anew, each pixel moved once. MirrorRow.h and Transpose.h are the kernels, Layout.h says
// how changes follow each other, OverlayChange.h what they do to overlays. ViewPerspective.h knows how perspectives
// relate, ViewPoints.h carries points and rectangles.
#include "Vkbitmap.h"
#include "Vkview.h"

#include "kernel/bitmap/Duplicate.h"
#include "kernel/bitmap/Overlay.h"
#include "kernel/bitmap/Record.h"
#include "kernel/system/Checks.h"
#include "kernel/view/Flip.h"
#include "kernel/view/MirrorRow.h"
#include "kernel/view/ViewPerspective.h"
#include "kernel/view/ViewPoints.h"

#include <utility>

using namespace vk;

namespace {

// By perspective, 1 to 8.
constexpr int32_t kFlippedPerspective[] = {0, 4, 3, 2, 1, 8, 7, 6, 5};
constexpr int32_t kReversedPerspective[] = {0, 2, 1, 4, 3, 6, 5, 8, 7};

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

void relabel_one(BITMAPHANDLE& bitmap, const int32_t (&perspectives)[9]) noexcept
{
    if (is_perspective(bitmap.ViewPerspective))
        bitmap.ViewPerspective = perspectives[bitmap.ViewPerspective];
}

/// Overlays show what the bitmap shows, flipped or reversed by the same change of theirs.
int relabel(BITMAPHANDLE* bitmap, const int32_t (&perspectives)[9]) noexcept
{
    const int result = check_record(bitmap);
    if (result != V_SUCCESS || !is_perspective(bitmap->ViewPerspective))
        return result;
    relabel_one(*bitmap, perspectives);
    auto* const overlays = static_cast<OverlayTable*>(bitmap->Overlays);
    for (int i = 0; overlays && i < kOverlaySlots; ++i)
        relabel_one(overlays->bitmaps[i], perspectives);
    return V_SUCCESS;
}

/// The sizes that mapping towards a bitmap counts with. The second exchange is for two perspectives alone.
struct Extent {
    int32_t width;
    int32_t height;
};

Extent extent_towards(const BITMAPHANDLE& bitmap, int32_t perspective) noexcept
{
    Extent extent{bitmap.Width, bitmap.Height};
    if (is_rotated_perspective(bitmap.ViewPerspective))
        std::swap(extent.width, extent.height);
    if (perspective == 6 || perspective == 8)
        std::swap(extent.width, extent.height);
    return extent;
}

/// SUCCESS with a change to make, or the result of having none: for equal perspectives, or for none at all.
struct Mapping {
    int result;
    bool is_needed;
    PerspectiveChange change;
};

Mapping mapping(int32_t from, int32_t to) noexcept
{
    if (from == to)
        return {V_SUCCESS, false, {}};
    if (!is_perspective(from) || !is_perspective(to))
        return {V_ERROR_INVALID_PARAMETER, false, {}};
    return {V_SUCCESS, true, perspective_change(from, to)};
}

int check_with(const BITMAPHANDLE* bitmap, bool has_result) noexcept
{
    const int result = check_record(bitmap);
    return result == V_SUCCESS && !has_result ? V_ERROR_INVALID_PARAMETER : result;
}

} // namespace

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
    return result == V_SUCCESS ? quarter_turn_bitmap(*pBitmap, nDirection == 1) : result;
}

int V_FlipBitmapViewPerspective(BITMAPHANDLE* pBitmap) noexcept
{
    return relabel(pBitmap, kFlippedPerspective);
}

int V_IntFlipBitmapViewPerspective(BITMAPHANDLE* pBitmap) noexcept
{
    return relabel(pBitmap, kFlippedPerspective);
}

int V_ReverseBitmapViewPerspective(BITMAPHANDLE* pBitmap) noexcept
{
    return relabel(pBitmap, kReversedPerspective);
}

int V_IntReverseBitmapViewPerspective(BITMAPHANDLE* pBitmap) noexcept
{
    return relabel(pBitmap, kReversedPerspective);
}

int V_GetChangeViewPerspectiveParams(int32_t nFrom, int32_t nTo, int32_t* pbFlip, int32_t* pnAngle) noexcept
{
    if (!pbFlip || !pnAngle || !is_perspective(nFrom) || !is_perspective(nTo))
        return V_ERROR_INVALID_PARAMETER;
    const PerspectiveChange change = perspective_change(nFrom, nTo);
    *pbFlip = change.flip;
    *pnAngle = change.angle;
    return V_SUCCESS;
}

int V_ChangeBitmapViewPerspective(BITMAPHANDLE* pDst, BITMAPHANDLE* pSrc, uint32_t uStructSize,
                                  int32_t nViewPerspective) noexcept
{
    if (!pSrc || !(pSrc->Flags & BITMAPFLAG_ALLOCATED))
        return V_ERROR_INVALID_PARAMETER;
    if (!is_record_size(pSrc->StructSize) || (pDst && !is_record_size(uStructSize)))
        return V_ERROR_INVALID_STRUCT_SIZE;
    if (!pDst || pDst == pSrc)
        return change_view_perspective(*pSrc, nViewPerspective);
    return copy_in_view_perspective(*pDst, *pSrc, uStructSize, nViewPerspective, copy_flags(*pSrc));
}

int V_IntChangeBitmapViewPerspective(BITMAPHANDLE* pDst, BITMAPHANDLE* pSrc, uint32_t uStructSize,
                                     int32_t nViewPerspective, uint32_t uDupFlags) noexcept
{
    int result = check_record(pSrc);
    if (result != V_SUCCESS)
        return result;
    if (!pDst || pDst == pSrc)
        return change_view_perspective(*pSrc, nViewPerspective);
    result = check_duplicate(pDst, pSrc, uStructSize);
    if (result != V_SUCCESS)
        return result;
    if (uDupFlags & ~(DUPFLAG_COPY | DUPFLAG_TAKEOVER)) {
        clear_record(*pDst, uStructSize);
        return V_ERROR_INVALID_PARAMETER;
    }
    return copy_in_view_perspective(*pDst, *pSrc, uStructSize, nViewPerspective, uDupFlags);
}

int V_ChangeRectViewPerspective(int32_t nFrom, int32_t nWidth, int32_t nHeight, int32_t nTo, RECT* pRect) noexcept
{
    if (!pRect || !is_perspective(nFrom) || !is_perspective(nTo))
        return V_ERROR_INVALID_PARAMETER;
    change_rect(perspective_change(nFrom, nTo), nWidth, nHeight, *pRect);
    return V_SUCCESS;
}

int V_PointToBitmap(BITMAPHANDLE* pBitmap, int32_t nViewPerspective, int32_t* px, int32_t* py) noexcept
{
    const int result = check_with(pBitmap, px && py);
    if (result != V_SUCCESS)
        return result;
    const Mapping way = mapping(nViewPerspective, pBitmap->ViewPerspective);
    if (!way.is_needed)
        return way.result;
    const Extent extent = extent_towards(*pBitmap, nViewPerspective);
    change_point(way.change, extent.width, extent.height, *px, *py);
    return V_SUCCESS;
}

int V_PointFromBitmap(BITMAPHANDLE* pBitmap, int32_t nViewPerspective, int32_t* px, int32_t* py) noexcept
{
    const int result = check_record(pBitmap);
    if (result != V_SUCCESS)
        return result;
    const Mapping way = mapping(pBitmap->ViewPerspective, nViewPerspective);
    if (!way.is_needed)
        return way.result;
    if (!px || !py)
        return V_ERROR_INVALID_PARAMETER;
    change_point(way.change, pBitmap->Width, pBitmap->Height, *px, *py);
    return V_SUCCESS;
}

int V_RectToBitmap(BITMAPHANDLE* pBitmap, int32_t nViewPerspective, RECT* pRect) noexcept
{
    const int result = check_with(pBitmap, pRect != nullptr);
    if (result != V_SUCCESS)
        return result;
    const Mapping way = mapping(nViewPerspective, pBitmap->ViewPerspective);
    const Extent extent = extent_towards(*pBitmap, nViewPerspective);
    if (way.is_needed)
        change_rect(way.change, extent.width, extent.height, *pRect);
    return way.result;
}

int V_RectFromBitmap(BITMAPHANDLE* pBitmap, int32_t nViewPerspective, RECT* pRect) noexcept
{
    const int result = check_with(pBitmap, pRect != nullptr);
    if (result != V_SUCCESS)
        return result;
    const Mapping way = mapping(pBitmap->ViewPerspective, nViewPerspective);
    if (way.is_needed)
        change_rect(way.change, pBitmap->Width, pBitmap->Height, *pRect);
    return way.result;
}
