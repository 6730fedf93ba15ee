// The combine family's door: parts of bitmaps, and bitmaps put into bitmaps.
//
// Inside, what later families share: Clip.h cuts rectangles to bitmaps, Inside.h says which pixels may be written,
// Walk.h brings rows of destination, source and mask together in the right order (with Aside.h, AreaRows.h and Undo.h),
// RowConverter.h converts source pixels to the destination's form, Alike.h tells colours that are near, Bits.h moves
// packed pixels. Crop.h makes and changes whole bitmaps; CombineBitmap.cpp puts one into another;
// BlendBitmap.cpp blends them, by BlendFormula.h.
#include "kernel/combine/Combine.h"

#include "kernel/bitmap/Duplicate.h"
#include "kernel/bitmap/Record.h"
#include "kernel/combine/CoverRows.h"
#include "kernel/combine/Crop.h"
#include "kernel/rows/RowAccess.h"
#include "kernel/system/Checks.h"

#include <algorithm>

using namespace vk;

namespace {

/// The check of a bitmap whose pixels are wanted.
int check_pixels(const BITMAPHANDLE* bitmap) noexcept
{
    const int result = check_allocated(bitmap);
    return result == V_SUCCESS ? check_rows(*bitmap) : result;
}

int check_pair(const BITMAPHANDLE* to, const BITMAPHANDLE* from) noexcept
{
    int result = check_allocated(to);
    if (result == V_SUCCESS)
        result = check_allocated(from);
    if (result == V_SUCCESS)
        result = check_rows(*to);
    return result == V_SUCCESS ? check_rows(*from) : result;
}

} // namespace

int V_CopyBitmapRect(BITMAPHANDLE* pDst, BITMAPHANDLE* pSrc, uint32_t uStructSize, int32_t nCol, int32_t nRow,
                     int32_t nWidth, int32_t nHeight) noexcept
{
    int result = check_duplicate(pDst, pSrc, uStructSize);
    if (result != V_SUCCESS)
        return result;
    result = check_rows(*pSrc);
    const combine::Area area = combine::clip_area(*pSrc, {nCol, nRow}, nWidth, nHeight);
    if (result == V_SUCCESS && !area.empty())
        return combine::copy_area(*pDst, *pSrc, uStructSize, area);
    clear_record(*pDst, uStructSize);
    return result;
}

int V_TrimBitmap(BITMAPHANDLE* pBitmap, int32_t nCol, int32_t nRow, int32_t nWidth, int32_t nHeight) noexcept
{
    const int result = check_pixels(pBitmap);
    if (result != V_SUCCESS)
        return result;
    const combine::Area area = combine::clip_area(*pBitmap, {nCol, nRow}, nWidth, nHeight);
    return area.empty() ? V_SUCCESS : combine::trim_bitmap(*pBitmap, area);
}

int V_GetTrimRect(BITMAPHANDLE* pBitmap, COLORREF crBorder, uint32_t uTolerance, RECT* pRect) noexcept
{
    int result = pRect ? check_pixels(pBitmap) : V_ERROR_INVALID_PARAMETER;
    combine::Area area;
    if (result == V_SUCCESS)
        result = combine::find_trim_area(*pBitmap, crBorder, uTolerance, area);
    if (result == V_SUCCESS)
        *pRect = {area.left, area.top, area.right, area.bottom};
    return result;
}

int V_ExtendBitmap(BITMAPHANDLE* pBitmap, int32_t nLeft, int32_t nTop, int32_t nRight, int32_t nBottom, uint32_t uFlags,
                   COLORREF crFill) noexcept
{
    const int result = check_pixels(pBitmap);
    if (result != V_SUCCESS)
        return result;
    if (std::min({nLeft, nTop, nRight, nBottom}) < 0 || uFlags > EXTEND_WRAP)
        return V_ERROR_INVALID_PARAMETER;
    return combine::extend_bitmap(*pBitmap, {nLeft, nTop, nRight, nBottom, uFlags, crFill});
}

int V_CombineBitmap(BITMAPHANDLE* pDst, int32_t nCol, int32_t nRow, int32_t nWidth, int32_t nHeight, BITMAPHANDLE* pSrc,
                    int32_t nSrcCol, int32_t nSrcRow, uint32_t uFlags) noexcept
{
    int result = check_pair(pDst, pSrc);
    if (result == V_SUCCESS)
        result = combine::check_combination(*pDst, *pSrc, uFlags);
    if (result != V_SUCCESS)
        return result;
    return combine::combine_bitmap(*pDst, *pSrc, {{nCol, nRow}, nWidth, nHeight, {nSrcCol, nSrcRow}}, uFlags);
}

int V_BlendBitmap(BITMAPHANDLE* pDst, int32_t nCol, int32_t nRow, int32_t nWidth, int32_t nHeight, BITMAPHANDLE* pSrc,
                  int32_t nSrcCol, int32_t nSrcRow, BITMAPHANDLE* pMask, int32_t nMaskCol, int32_t nMaskRow,
                  uint32_t uMode, uint32_t uOpacity) noexcept
{
    int result = check_pair(pDst, pSrc);
    if (result == V_SUCCESS && pMask)
        result = check_pixels(pMask);
    if (result == V_SUCCESS)
        result = combine::check_blend(uMode, uOpacity);
    if (result == V_SUCCESS && pMask && !combine::MaskValues::can_be(*pMask))
        result = V_ERROR_INVALID_BITS_PER_PIXEL;
    if (result != V_SUCCESS)
        return result;
    return combine::blend_bitmap(*pDst, *pSrc, {{nCol, nRow}, nWidth, nHeight, {nSrcCol, nSrcRow}},
                                 {pMask, {nMaskCol, nMaskRow}}, uMode, uOpacity);
}
