// The fill family's door: colours and patterns, alpha, and scrambling.
//
// Inside, FillBitmap.h has what the functions do: FillRun.h and PatternRun.h write runs of pixels, Flood.h finds what
// is connected, AlphaRuns.h moves and multiplies alpha (AlphaKernels.h the loops), Scramble.cpp hides pixels by
// ChaCha.h. Rows are brought together, and put back after failures, by combine/Walk.h.
#include "kernel/fill/FillBitmap.h"

#include "kernel/bitmap/Duplicate.h"
#include "kernel/bitmap/Record.h"
#include "kernel/format/Depths.h"
#include "kernel/rows/RowAccess.h"
#include "kernel/system/Checks.h"

using namespace vk;

namespace {

/// The check of a bitmap whose pixels are wanted.
int check_pixels(const BITMAPHANDLE* bitmap) noexcept
{
    const int result = check_allocated(bitmap);
    return result == V_SUCCESS ? check_rows(*bitmap) : result;
}

int check_alpha(const BITMAPHANDLE& bitmap) noexcept
{
    return has_alpha(bitmap.BitsPerPixel, bitmap.Order) ? V_SUCCESS : V_ERROR_INVALID_BITS_PER_PIXEL;
}

/// The check of a bitmap whose alpha is wanted.
int check_alpha_pixels(const BITMAPHANDLE* bitmap) noexcept
{
    const int result = check_allocated(bitmap);
    const int alpha = result == V_SUCCESS ? check_alpha(*bitmap) : result;
    return alpha == V_SUCCESS ? check_rows(*bitmap) : alpha;
}

} // namespace

int V_FillBitmap(BITMAPHANDLE* pBitmap, COLORREF crColor) noexcept
{
    const int result = check_pixels(pBitmap);
    return result == V_SUCCESS ? fill::fill_area(*pBitmap, combine::whole_area(*pBitmap), crColor) : result;
}

int V_FillBitmapRect(BITMAPHANDLE* pBitmap, const RECT* pRect, COLORREF crColor) noexcept
{
    const int result = pRect ? check_pixels(pBitmap) : V_ERROR_INVALID_PARAMETER;
    return result == V_SUCCESS ? fill::fill_area(*pBitmap, combine::clip_area(*pBitmap, *pRect), crColor) : result;
}

int V_FillBitmapPattern(BITMAPHANDLE* pBitmap, BITMAPHANDLE* pPattern, int32_t nOriginCol, int32_t nOriginRow) noexcept
{
    int result = check_pixels(pBitmap);
    if (result == V_SUCCESS)
        result = check_pixels(pPattern);
    return result == V_SUCCESS ? fill::fill_pattern(*pBitmap, *pPattern, {nOriginCol, nOriginRow}) : result;
}

int V_FloodFillBitmap(BITMAPHANDLE* pBitmap, int32_t nCol, int32_t nRow, COLORREF crColor, COLORREF crBorder,
                      uint32_t uTolerance, uint32_t uFlags) noexcept
{
    const int result = check_pixels(pBitmap);
    if (result != V_SUCCESS)
        return result;
    if (uFlags & ~(FLOOD_EIGHT | FLOOD_BORDER))
        return V_ERROR_INVALID_PARAMETER;
    if (combine::clip_area(*pBitmap, {nCol, nRow}, 1, 1).empty())
        return V_SUCCESS;
    return fill::flood_bitmap(*pBitmap, {{nCol, nRow}, crColor, crBorder, uTolerance, uFlags});
}

int V_GetBitmapAlpha(BITMAPHANDLE* pAlpha, BITMAPHANDLE* pSrc, uint32_t uStructSize) noexcept
{
    int result = check_duplicate(pAlpha, pSrc, uStructSize);
    if (result != V_SUCCESS)
        return result;
    result = check_alpha_pixels(pSrc);
    if (result == V_SUCCESS)
        return fill::get_alpha(*pAlpha, *pSrc, uStructSize);
    clear_record(*pAlpha, uStructSize);
    return result;
}

int V_SetBitmapAlpha(BITMAPHANDLE* pDst, BITMAPHANDLE* pAlpha) noexcept
{
    int result = check_alpha_pixels(pDst);
    if (result == V_SUCCESS)
        result = check_pixels(pAlpha);
    return result == V_SUCCESS ? fill::set_alpha(*pDst, *pAlpha) : result;
}

int V_SetBitmapAlphaValue(BITMAPHANDLE* pDst, uint32_t uAlpha) noexcept
{
    const int result = check_alpha_pixels(pDst);
    if (result != V_SUCCESS)
        return result;
    const uint32_t most = pDst->BitsPerPixel == 64 ? 65535 : 255;
    return uAlpha <= most ? fill::set_alpha_value(*pDst, uAlpha) : V_ERROR_INVALID_PARAMETER;
}

int V_PremultiplyBitmap(BITMAPHANDLE* pBitmap) noexcept
{
    const int result = check_alpha_pixels(pBitmap);
    return result == V_SUCCESS ? fill::weigh_colors(*pBitmap, false) : result;
}

int V_UnpremultiplyBitmap(BITMAPHANDLE* pBitmap) noexcept
{
    const int result = check_alpha_pixels(pBitmap);
    return result == V_SUCCESS ? fill::weigh_colors(*pBitmap, true) : result;
}

int V_ScrambleBitmap(BITMAPHANDLE* pDst, BITMAPHANDLE* pSrc, uint32_t uStructSize, int32_t nCol, int32_t nRow,
                     int32_t nWidth, int32_t nHeight, uint32_t uKey, uint32_t uFlags) noexcept
{
    const bool is_own = pDst && pDst == pSrc;
    int result = is_own ? check_allocated(pSrc) : check_duplicate(pDst, pSrc, uStructSize);
    if (result != V_SUCCESS)
        return result;
    result = uFlags > SCRAMBLE_SHOW ? V_ERROR_INVALID_PARAMETER : check_rows(*pSrc);
    if (result == V_SUCCESS) {
        const combine::Area area = combine::clip_area(*pSrc, {nCol, nRow}, nWidth, nHeight);
        return is_own ? fill::scramble_area(*pSrc, area, uKey)
                      : fill::copy_scrambled(*pDst, *pSrc, uStructSize, area, uKey);
    }
    if (!is_own)
        clear_record(*pDst, uStructSize);
    return result;
}
