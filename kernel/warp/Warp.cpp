// The warp family's door: bitmaps through projective maps and grids, sheared bitmaps, buffers turned.
//
// Inside, from the bottom up: Track.h says what a position is and how exact, Loops.h which inner loops there are and
// who chooses among them, Mapping.h (with Plane.h and Grid.h) where pixels come from, Cells.h and Mix.h how they are
// mixed, Painter.h (with Nearest.h and Filter.h) paints rows, Source.h and Walk.h bring the pixels there from any
// storage, WarpBitmap.h replaces the bitmap, Settle.cpp works out what is asked for.
#include "Vkwarp.h"

#include "kernel/format/Depths.h"
#include "kernel/format/RowMath.h"
#include "kernel/geometry/Direction.h"
#include "kernel/rows/RowAccess.h"
#include "kernel/system/Checks.h"
#include "kernel/warp/Buffers.h"
#include "kernel/warp/Warp.h"

using namespace vk;

namespace {

/// The checks that all warps begin with; `has_all` tells whether there is what they go by.
int check_warp(const BITMAPHANDLE* bitmap, bool has_all, int32_t width, int32_t height) noexcept
{
    const int result = check_allocated(bitmap);
    if (result != V_SUCCESS)
        return result;
    return has_all && width >= 0 && height >= 0 ? check_rows(*bitmap) : V_ERROR_INVALID_PARAMETER;
}

/// The checks of turned buffers, whose rows become `turned` pixels long.
int check_buffers(const void* from, size_t from_stride, const void* to, size_t to_stride, uint32_t width,
                  uint32_t height, int32_t bits, uint32_t turned) noexcept
{
    if (!from || !to)
        return V_ERROR_INVALID_PARAMETER;
    if (!is_bitmap_depth(bits))
        return V_ERROR_INVALID_BITS_PER_PIXEL;
    if (width > INT32_MAX || height > INT32_MAX)
        return V_ERROR_INVALID_WIDTH_HEIGHT;
    return from_stride >= packed_bytes(width, bits) && to_stride >= packed_bytes(turned, bits)
               ? V_SUCCESS
               : V_ERROR_INVALID_PARAMETER;
}

PixelBuffer buffer_of(const void* data, size_t stride, uint32_t width, uint32_t height, int32_t bits) noexcept
{
    return {static_cast<const uint8_t*>(data), stride, static_cast<int32_t>(width), static_cast<int32_t>(height), bits};
}

} // namespace

int V_WarpBitmap(BITMAPHANDLE* pBitmap, const V_MATRIX* pMatrix, int32_t nWidth, int32_t nHeight, uint32_t uFlags,
                 COLORREF crFill) noexcept
{
    const int result = check_warp(pBitmap, pMatrix != nullptr, nWidth, nHeight);
    return result == V_SUCCESS ? warp_by_matrix(*pBitmap, *pMatrix, nWidth, nHeight, uFlags, crFill) : result;
}

int V_WarpBitmapCorners(BITMAPHANDLE* pBitmap, const V_POINTD* pCorners, int32_t nWidth, int32_t nHeight,
                        uint32_t uFlags, COLORREF crFill) noexcept
{
    const int result = check_warp(pBitmap, pCorners != nullptr, nWidth, nHeight);
    return result == V_SUCCESS ? warp_by_corners(*pBitmap, pCorners, nWidth, nHeight, uFlags, crFill) : result;
}

int V_WarpBitmapGrid(BITMAPHANDLE* pBitmap, const V_POINTD* pGrid, int32_t nColumns, int32_t nRows, int32_t nWidth,
                     int32_t nHeight, uint32_t uFlags, COLORREF crFill) noexcept
{
    const int result = check_warp(pBitmap, pGrid != nullptr, nWidth, nHeight);
    return result == V_SUCCESS ? warp_by_grid(*pBitmap, {pGrid, nColumns, nRows}, nWidth, nHeight, uFlags, crFill)
                               : result;
}

int V_ShearBitmap(BITMAPHANDLE* pBitmap, int32_t nAngle, uint32_t uFlags, COLORREF crFill) noexcept
{
    const int result = check_warp(pBitmap, nAngle > -kRightAngle && nAngle < kRightAngle, 0, 0);
    return result == V_SUCCESS ? shear_bitmap(*pBitmap, nAngle, uFlags, crFill) : result;
}

int V_RotateBuffer90(const void* pSrc, size_t uSrcStride, void* pDst, size_t uDstStride, uint32_t uWidth,
                     uint32_t uHeight, int32_t nBitsPerPixel, int32_t nDirection) noexcept
{
    int result = check_buffers(pSrc, uSrcStride, pDst, uDstStride, uWidth, uHeight, nBitsPerPixel, uHeight);
    if (result == V_SUCCESS && nDirection != 0 && nDirection != 1)
        result = V_ERROR_INVALID_PARAMETER;
    if (result == V_SUCCESS && uWidth != 0 && uHeight != 0)
        quarter_turn(buffer_of(pSrc, uSrcStride, uWidth, uHeight, nBitsPerPixel), static_cast<uint8_t*>(pDst),
                     uDstStride, nDirection == 1);
    return result;
}

int V_RotateBuffer180(const void* pSrc, size_t uSrcStride, void* pDst, size_t uDstStride, uint32_t uWidth,
                      uint32_t uHeight, int32_t nBitsPerPixel) noexcept
{
    const int result = check_buffers(pSrc, uSrcStride, pDst, uDstStride, uWidth, uHeight, nBitsPerPixel, uWidth);
    if (result == V_SUCCESS && uWidth != 0 && uHeight != 0)
        half_turn(buffer_of(pSrc, uSrcStride, uWidth, uHeight, nBitsPerPixel), static_cast<uint8_t*>(pDst), uDstStride);
    return result;
}
