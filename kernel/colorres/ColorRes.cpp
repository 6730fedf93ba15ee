// The colorres family's door: a bitmap's depth, order or palette changed, and gray made of it.
//
// Inside: ColorTarget.cpp settles what is asked for, ChangeColors.cpp stages it, ColorRows.h takes rows from the one
// form to the other; Quantize.h makes palettes (ColorCount.h counts, Cut.h divides, Refine.h improves); GrayScale.h
// tells what gray is, ExactCount.h how many colours there are.
#include "Vkcolorres.h"

#include "kernel/bitmap/Duplicate.h"
#include "kernel/bitmap/Record.h"
#include "kernel/colorres/ColorRes.h"
#include "kernel/colorres/ExactCount.h"
#include "kernel/colorres/GrayScale.h"
#include "kernel/rows/RowAccess.h"
#include "kernel/system/Checks.h"

using namespace vk;

namespace {

/// The depths that gray may be asked for: levels, and samples that look-up tables are made for.
int check_depth(int32_t bits) noexcept
{
    const bool is_gray = bits == 0 || bits == kMostIndexBits || is_short_gray(bits, COLORORDER_GRAY);
    return is_gray ? V_SUCCESS : V_ERROR_INVALID_BITS_PER_PIXEL;
}

ColorResRequest gray_request(int32_t bits) noexcept
{
    ColorResRequest request;
    request.bits = bits == 0 ? 8 : bits;
    request.flags = COLORRES_ORDER_GRAY | COLORRES_NODITHER;
    return request;
}

} // namespace

int V_ColorResBitmap(BITMAPHANDLE* pSrc, BITMAPHANDLE* pDst, uint32_t uStructSize, int32_t nBitsPerPixel,
                     uint32_t uFlags, const RGBQUAD* pPalette, HPALETTE hPalette, uint32_t uColors) noexcept
{
    const ColorResRequest request{nBitsPerPixel, uFlags, pPalette, hPalette, uColors};
    const bool is_in_place = !pDst || pDst == pSrc;
    const int result = is_in_place ? check_allocated(pSrc) : check_duplicate(pDst, pSrc, uStructSize);
    if (result != V_SUCCESS)
        return result;
    return is_in_place ? change_colors(*pSrc, request) : make_colors(*pDst, *pSrc, uStructSize, request);
}

int V_GrayScaleBitmap(BITMAPHANDLE* pBitmap, int32_t nBitsPerPixel) noexcept
{
    int result = check_allocated(pBitmap);
    if (result == V_SUCCESS)
        result = check_depth(nBitsPerPixel);
    return result == V_SUCCESS ? change_colors(*pBitmap, gray_request(nBitsPerPixel)) : result;
}

int V_CreateGrayScaleBitmap(BITMAPHANDLE* pDst, BITMAPHANDLE* pSrc, uint32_t uStructSize,
                            int32_t nBitsPerPixel) noexcept
{
    int result = check_duplicate(pDst, pSrc, uStructSize);
    if (result != V_SUCCESS)
        return result;
    result = check_depth(nBitsPerPixel);
    if (result != V_SUCCESS)
        clear_record(*pDst, uStructSize);
    return result == V_SUCCESS ? make_colors(*pDst, *pSrc, uStructSize, gray_request(nBitsPerPixel)) : result;
}

int V_IntIsGrayScaleBitmap(BITMAPHANDLE* pBitmap) noexcept
{
    return check_record(pBitmap) == V_SUCCESS ? static_cast<int>(gray_kind(*pBitmap)) : 0;
}

int V_GetGrayParams(BITMAPHANDLE* pBitmap, uint32_t* puMask, int32_t* pnShift, int32_t* pnBits) noexcept
{
    const int result = check_record(pBitmap);
    if (result != V_SUCCESS)
        return result;
    if (pBitmap->BitsPerPixel < 1 || pBitmap->BitsPerPixel > 32)
        return V_ERROR_INVALID_BITS_PER_PIXEL;
    const GrayRange range = gray_range_of(*pBitmap);
    if (puMask)
        *puMask = range.mask();
    if (pnShift)
        *pnShift = range.low_bit();
    if (pnBits)
        *pnBits = static_cast<int32_t>(range.bits);
    return V_SUCCESS;
}

int V_CountBitmapColors(BITMAPHANDLE* pBitmap, uint64_t* puColors) noexcept
{
    int result = check_allocated(pBitmap);
    if (result == V_SUCCESS && !puColors)
        result = V_ERROR_INVALID_PARAMETER;
    if (result == V_SUCCESS)
        result = check_rows(*pBitmap);
    return result == V_SUCCESS ? count_colors(*pBitmap, puColors) : result;
}
