// The resize family's door: whole bitmaps resized in place and into others, rows resized as they come, and streams of
// resized rows.
//
// Inside: ResizeRows.cpp chooses how one bitmap goes into another of the same format; Stretch.cpp brings formats and
// perspectives together first, InPlace.cpp replaces a bitmap by itself resized. Nearest.h steps through rows,
// FavorBlack.h and AlphaBleed.h are what its flags ask for; ResizeLine.h and ScanLine.h serve single rows,
// ResizeStream.h streams.
#include "Vkresample.h"
#include "Vkresize.h"
#include "Vkrows.h"

#include "kernel/format/RowMath.h"
#include "kernel/resize/Resize.h"
#include "kernel/resize/ResizeLine.h"
#include "kernel/resize/ResizeStream.h"
#include "kernel/resize/ScanLine.h"
#include "kernel/system/Checks.h"
#include "platform/platform.h"

using namespace vk;

namespace {

using Scan = void(const resize::ScanLine& line, const uint8_t* src, uint8_t* dst) noexcept;

/// The exported scan-line functions, which have no result: what makes no sense does nothing.
void scan_checked(const resize::ScanLine& line, const void* src, void* dst, Scan* scan) noexcept
{
    const bool is_walk = line.start >= 0 && line.quotient >= 0 && line.accumulator >= 0 && line.remainder >= 0 &&
                         line.denominator > 0 && line.count >= 0;
    if (src && dst && is_scan_depth(line.bits) && is_walk)
        scan(line, static_cast<const uint8_t*>(src), static_cast<uint8_t*>(dst));
}

} // namespace

int V_StartResizeBitmap(BITMAPHANDLE* pBitmap, int32_t nNewWidth, int32_t nNewHeight, int32_t nBitsPerPixel,
                        const RGBQUAD* pPalette, int32_t nOrder, uint32_t uFlags, BITMAPHANDLE* pDstBitmap,
                        void* pUserData, void** ppState) noexcept
{
    return V_StartResizeBitmap2(pBitmap, nNewWidth, nNewHeight, nBitsPerPixel, pPalette, nOrder,
                                uFlags & ~STREAMFLAG_AREA, pDstBitmap, pUserData, ppState, 0, 0);
}

int V_StartResizeBitmap2(BITMAPHANDLE* pBitmap, int32_t nNewWidth, int32_t nNewHeight, int32_t nBitsPerPixel,
                         const RGBQUAD* pPalette, int32_t nOrder, uint32_t uFlags, BITMAPHANDLE* pDstBitmap,
                         void* pUserData, void** ppState, int bSourceLocked, uint32_t) noexcept
{
    return start_stream(pBitmap, pDstBitmap, {nNewWidth, nNewHeight, nBitsPerPixel, nOrder, pPalette, uFlags, false},
                        pUserData, bSourceLocked != 0, ppState);
}

int V_GetResizedRowCol(void* pState, void* pBuffer, int32_t nRow, int32_t nCol, uint32_t uWidth) noexcept
{
    return get_stream_pixels(pState, pBuffer, nRow, nCol, uWidth);
}

int V_StopResizeBitmap(void* pState) noexcept
{
    return stop_stream(pState);
}

int V_SizeBitmap(BITMAPHANDLE* pBitmap, int32_t nWidth, int32_t nHeight, uint32_t uFlags) noexcept
{
    if (!pBitmap || !(pBitmap->Flags & BITMAPFLAG_ALLOCATED))
        return V_ERROR_INVALID_PARAMETER;
    const int result = check_record(pBitmap);
    if (result != V_SUCCESS)
        return result;
    if (nWidth <= 0 || nHeight <= 0)
        return V_ERROR_INVALID_PARAMETER;
    if (pBitmap->Width == nWidth && pBitmap->Height == nHeight)
        return V_SUCCESS;
    return size_bitmap(*pBitmap, nWidth, nHeight, uFlags);
}

int V_ResizeBitmap(BITMAPHANDLE* pSrc, BITMAPHANDLE* pDst, uint32_t uFlags) noexcept
{
    if (!pSrc || !pDst)
        return V_ERROR_INVALID_PARAMETER;
    int result = check_record(pSrc);
    if (result == V_SUCCESS)
        result = check_record(pDst);
    if (result == V_SUCCESS)
        result = check_allocated(pSrc);
    if (result == V_SUCCESS)
        result = check_allocated(pDst);
    if (result == V_SUCCESS && !is_bitmap_depth(pDst->BitsPerPixel))
        result = V_ERROR_INVALID_PARAMETER;
    if (result == V_SUCCESS)
        result = check_resize(pSrc, pDst);
    return result == V_SUCCESS ? stretch(*pSrc, *pDst, uFlags) : result;
}

int V_IntResizeBitmap(BITMAPHANDLE* pSrc, BITMAPHANDLE* pDst, uint32_t uFlags) noexcept
{
    const int result = check_resize(pSrc, pDst);
    return result == V_SUCCESS ? resize_into(*pSrc, *pDst, uFlags) : result;
}

int V_StartResize(int32_t nOldWidth, int32_t nOldHeight, int32_t nNewWidth, int32_t nNewHeight, void** ppState) noexcept
{
    if (!ppState)
        return V_ERROR_INVALID_PARAMETER;
    *ppState = nullptr;
    return start_resize(nOldWidth, nOldHeight, nNewWidth, nNewHeight, ppState);
}

int V_Resize(void* pRow, int32_t nRow, int32_t nBitsPerPixel, int32_t* pnNewWidth, int32_t* pnCopies,
             void* pState) noexcept
{
    if (!pRow || !pnCopies || !pState)
        return V_ERROR_INVALID_PARAMETER;
    auto& state = *static_cast<ResizeLineState*>(pState);
    const int32_t copies = resize_row(state, static_cast<uint8_t*>(pRow), nRow, nBitsPerPixel);
    if (copies < 0)
        return copies;
    if (pnNewWidth)
        *pnNewWidth = state.new_width;
    *pnCopies = copies;
    return copies;
}

int V_StopResize(void* pState) noexcept
{
    if (!pState)
        return V_ERROR_INVALID_PARAMETER;
    platform::heap_free(pState);
    return V_SUCCESS;
}

void V_GetResizedScanLine(int32_t nBitsPerPixel, uint32_t uDstBytes, int32_t nStartX, int32_t nXQuotient,
                          int32_t nAccumulator, int32_t nXRemainder, const void* pSrc, void* pDst, int32_t nCount,
                          int32_t nDenominator, int bEnlarge) noexcept
{
    const resize::ScanLine line{nBitsPerPixel, uDstBytes,   nStartX,      bEnlarge ? 0 : nXQuotient,
                                nAccumulator,  nXRemainder, nDenominator, nCount};
    scan_checked(line, pSrc, pDst, resize::scan_forward);
}

void V_ReverseGetResizedScanLine(int32_t nBitsPerPixel, uint32_t uDstBytes, int32_t nStartX, int32_t nXQuotient,
                                 int32_t nAccumulator, int32_t nXRemainder, const void* pSrc, void* pDst,
                                 int32_t nCount, int32_t nDenominator, int bEnlarge) noexcept
{
    const resize::ScanLine line{nBitsPerPixel, uDstBytes,   nStartX,      bEnlarge ? 0 : nXQuotient,
                                nAccumulator,  nXRemainder, nDenominator, nCount};
    scan_checked(line, pSrc, pDst, resize::scan_backward);
}
