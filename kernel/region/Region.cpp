// The region family's door: sets of a bitmap's pixels.
//
// Inside: RegionChange.h combines the region that a bitmap has with what is passed, PixelArea.h reads areas from
// pixels. The geometry stands in kernel/area/, and kernel/bitmap/Region.h lets regions follow their pixels.
#include "Vkregion.h"

#include "kernel/area/Polygon.h"
#include "kernel/area/Shapes.h"
#include "kernel/bitmap/Duplicate.h"
#include "kernel/bitmap/Record.h"
#include "kernel/bitmap/Region.h"
#include "kernel/region/RegionChange.h"
#include "kernel/region/RegionHandle.h"
#include "kernel/rows/RowAccess.h"
#include "kernel/system/Checks.h"

#include <algorithm>
#include <cmath>

namespace vk {

static_assert(sizeof(V_POINTD) == sizeof(AreaPoint) && sizeof(V_REGIONRUN) == sizeof(AreaRun));

namespace {

/// The checks of functions that look at a region.
int check_question(const BITMAPHANDLE* bitmap) noexcept
{
    const int result = check_record(bitmap);
    return result == V_SUCCESS && is_foreign(*bitmap) ? V_ERROR_FEATURE_NOT_SUPPORTED : result;
}

/// The checks of functions that change it; `is_valid` says what was found of their own parameters.
int check_change(const BITMAPHANDLE* bitmap, uint32_t mode, bool is_valid = true) noexcept
{
    int result = check_allocated(bitmap);
    if (result == V_SUCCESS && (mode > REGION_ANDNOT || !is_valid))
        result = V_ERROR_INVALID_PARAMETER;
    if (result == V_SUCCESS)
        result = check_rows(*bitmap);
    if (result == V_SUCCESS && mode != REGION_SET && is_foreign(*bitmap))
        result = V_ERROR_FEATURE_NOT_SUPPORTED;
    return result;
}

AreaBox box_of(const RECT& rect) noexcept
{
    return {static_cast<int32_t>(rect.left), static_cast<int32_t>(rect.top), static_cast<int32_t>(rect.right),
            static_cast<int32_t>(rect.bottom)};
}

/// Combines the region with what `build(frame, built)` makes; that tells whether it had memory.
template <class Build> int combine_shape(BITMAPHANDLE* bitmap, uint32_t mode, bool is_valid, Build build) noexcept
{
    const int result = check_change(bitmap, mode, is_valid);
    if (result != V_SUCCESS)
        return result;
    AreaBuilder shape(AreaHome::block);
    return build(frame_of(*bitmap), shape) ? combine_region(*bitmap, shape, mode) : V_ERROR_NO_MEMORY;
}

bool are_finite(const V_POINTD* points, uint32_t count) noexcept
{
    return points && count != 0 && std::all_of(points, points + count, [](const V_POINTD& point) noexcept {
               return std::isfinite(point.x) && std::isfinite(point.y);
           });
}

/// Passes the region as it counts to `answer`, which writes what it says to `out`.
template <class Out, class Answer> int ask_region(const BITMAPHANDLE* bitmap, Out* out, Answer answer) noexcept
{
    int result = check_question(bitmap);
    if (result == V_SUCCESS && !out)
        result = V_ERROR_INVALID_PARAMETER;
    if (result != V_SUCCESS)
        return result;
    const Counted region(*bitmap);
    if (!region.is_good())
        return V_ERROR_NO_MEMORY;
    answer(region.area());
    return V_SUCCESS;
}

} // namespace

} // namespace vk

using namespace vk;

int V_SetBitmapRegionRect(BITMAPHANDLE* pBitmap, const RECT* pRect, uint32_t uMode) noexcept
{
    return combine_shape(pBitmap, uMode, pRect != nullptr, [&](const AreaBox& frame, AreaBuilder& shape) noexcept {
        return build_rectangle(box_of(*pRect), frame, shape);
    });
}

int V_SetBitmapRegionEllipse(BITMAPHANDLE* pBitmap, const RECT* pRect, uint32_t uMode) noexcept
{
    return combine_shape(pBitmap, uMode, pRect != nullptr, [&](const AreaBox& frame, AreaBuilder& shape) noexcept {
        return build_ellipse(box_of(*pRect), frame, shape);
    });
}

int V_SetBitmapRegionRoundRect(BITMAPHANDLE* pBitmap, const RECT* pRect, int32_t nWidth, int32_t nHeight,
                               uint32_t uMode) noexcept
{
    const bool is_valid = pRect && nWidth >= 0 && nHeight >= 0;
    return combine_shape(pBitmap, uMode, is_valid, [&](const AreaBox& frame, AreaBuilder& shape) noexcept {
        return build_round_rectangle(box_of(*pRect), nWidth, nHeight, frame, shape);
    });
}

int V_SetBitmapRegionPolygon(BITMAPHANDLE* pBitmap, const V_POINTD* pPoints, uint32_t uPoints, uint32_t uFillRule,
                             uint32_t uMode) noexcept
{
    const FillRule rule = uFillRule == REGION_WINDING ? FillRule::winding : FillRule::alternate;
    const bool is_valid = uFillRule <= REGION_WINDING && are_finite(pPoints, uPoints);
    return combine_shape(pBitmap, uMode, is_valid, [&](const AreaBox& frame, AreaBuilder& shape) noexcept {
        return build_polygon(reinterpret_cast<const AreaPoint*>(pPoints), uPoints, rule, frame, shape);
    });
}

int V_SetBitmapRegionMask(BITMAPHANDLE* pBitmap, BITMAPHANDLE* pMask, uint32_t uMode) noexcept
{
    int result = check_change(pBitmap, uMode);
    if (result == V_SUCCESS)
        result = check_allocated(pMask);
    if (result == V_SUCCESS)
        result = check_rows(*pMask);
    if (result == V_SUCCESS && !can_turn(*pMask, *pBitmap))
        result = V_ERROR_INVALID_PARAMETER;
    return result == V_SUCCESS ? combine_mask(*pBitmap, *pMask, uMode) : result;
}

int V_SetBitmapRegionColor(BITMAPHANDLE* pBitmap, COLORREF crLower, COLORREF crUpper, uint32_t uMode) noexcept
{
    const int result = check_change(pBitmap, uMode);
    return result == V_SUCCESS ? combine_colors(*pBitmap, crLower, crUpper, uMode) : result;
}

int V_SetBitmapRegionMagicWand(BITMAPHANDLE* pBitmap, int32_t nCol, int32_t nRow, COLORREF crLowerTolerance,
                               COLORREF crUpperTolerance, uint32_t uMode) noexcept
{
    const int result = check_change(pBitmap, uMode);
    if (result != V_SUCCESS)
        return result;
    if (nCol < 0 || nRow < 0 || nCol >= pBitmap->Width || nRow >= pBitmap->Height)
        return V_ERROR_INVALID_PARAMETER;
    return combine_magic_wand(*pBitmap, nCol, nRow, crLowerTolerance, crUpperTolerance, uMode);
}

int V_FreeBitmapRegion(BITMAPHANDLE* pBitmap) noexcept
{
    const int result = check_record(pBitmap);
    if (result == V_SUCCESS)
        free_region(*pBitmap);
    return result;
}

int V_BitmapHasRegion(BITMAPHANDLE* pBitmap) noexcept
{
    const int result = check_record(pBitmap);
    return result == V_SUCCESS ? pBitmap->RgnInfo != nullptr : result;
}

int V_InvertBitmapRegion(BITMAPHANDLE* pBitmap) noexcept
{
    const int result = check_change(pBitmap, REGION_XOR);
    return result == V_SUCCESS ? invert_region(*pBitmap) : result;
}

int V_OffsetBitmapRegion(BITMAPHANDLE* pBitmap, int32_t nCols, int32_t nRows) noexcept
{
    const int result = check_change(pBitmap, REGION_XOR);
    return result == V_SUCCESS ? move_area(*pBitmap, *pBitmap, nCols, nRows) : result;
}

int V_CopyBitmapRegion(BITMAPHANDLE* pDst, BITMAPHANDLE* pSrc) noexcept
{
    int result = check_change(pDst, REGION_SET);
    if (result == V_SUCCESS)
        result = check_question(pSrc);
    if (result == V_SUCCESS && !can_turn(*pSrc, *pDst))
        result = V_ERROR_INVALID_PARAMETER;
    if (result != V_SUCCESS || pDst == pSrc)
        return result;
    if (!has_area(*pSrc)) {
        free_region(*pDst);
        return V_SUCCESS;
    }
    return transfer_region(*pDst, *pSrc);
}

int V_GetBitmapRegionBounds(BITMAPHANDLE* pBitmap, RECT* pRect) noexcept
{
    return ask_region(pBitmap, pRect, [pRect](const Area& area) noexcept {
        const AreaBox bounds = area.bounds();
        *pRect = {bounds.left, bounds.top, bounds.right, bounds.bottom};
    });
}

int V_GetBitmapRegionArea(BITMAPHANDLE* pBitmap, uint64_t* puPixels) noexcept
{
    return ask_region(pBitmap, puPixels, [puPixels](const Area& area) noexcept { *puPixels = area.size(); });
}

int V_IsPointInBitmapRegion(BITMAPHANDLE* pBitmap, int32_t nCol, int32_t nRow) noexcept
{
    const int result = check_question(pBitmap);
    if (result != V_SUCCESS)
        return result;
    if (nCol < 0 || nRow < 0 || nCol >= pBitmap->Width || nRow >= pBitmap->Height)
        return 0;
    return !has_area(*pBitmap) || area_of(*pBitmap).contains(nCol, nRow);
}

int V_GetBitmapRegionMask(BITMAPHANDLE* pMask, BITMAPHANDLE* pSrc, uint32_t uStructSize) noexcept
{
    int result = check_duplicate(pMask, pSrc, uStructSize);
    if (result != V_SUCCESS)
        return result;
    result = is_foreign(*pSrc) ? V_ERROR_FEATURE_NOT_SUPPORTED : check_rows(*pSrc);
    if (result == V_SUCCESS)
        result = make_mask(*pMask, *pSrc, uStructSize);
    if (result != V_SUCCESS)
        clear_record(*pMask, uStructSize);
    return result;
}

int V_GetBitmapRegionRow(BITMAPHANDLE* pBitmap, int32_t nRow, int32_t* pnRuns, V_REGIONRUN* pRuns) noexcept
{
    const int result = check_question(pBitmap);
    if (result != V_SUCCESS)
        return result;
    if (!pnRuns || *pnRuns < 0 || nRow < 0 || nRow >= pBitmap->Height)
        return V_ERROR_INVALID_PARAMETER;
    const RegionRows rows(*pBitmap);
    const int32_t room = *pnRuns;
    int32_t count = 0;
    rows.each(nRow, 0, pBitmap->Width, [&](int32_t, int32_t) noexcept { ++count; });
    *pnRuns = count;
    if (pRuns && room < count)
        return V_ERROR_BUFFER_TOO_SMALL;
    if (pRuns)
        rows.each(nRow, 0, pBitmap->Width, [&](int32_t first, int32_t end) noexcept { *pRuns++ = {first, end}; });
    return V_SUCCESS;
}

#if defined(_WIN32)

int V_SetBitmapRegionHandle(BITMAPHANDLE* pBitmap, HRGN hRegion, uint32_t uMode) noexcept
{
    const int result = check_change(pBitmap, uMode);
    return result == V_SUCCESS ? combine_handle(*pBitmap, hRegion, uMode) : result;
}

HRGN V_GetBitmapRegionHandle(BITMAPHANDLE* pBitmap) noexcept
{
    if (check_question(pBitmap) != V_SUCCESS)
        return nullptr;
    const Counted region(*pBitmap);
    return region.is_good() ? make_handle(region.area()) : nullptr;
}

#endif
