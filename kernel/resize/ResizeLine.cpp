// Line-level resizing. How often a row is emitted depends on its number alone, so that rows may come in any order; the
// state remembers the last one for those who look at it.
#include "kernel/resize/ResizeLine.h"

#include "Vkresize.h"
#include "kernel/resize/ScanLine.h"
#include "platform/platform.h"

#include <algorithm>
#include <new>

namespace vk {

namespace {

/// The side that keeps the proportions: `old` stretched as `other_old` is to `other_new`. 0 when there is none. The
/// order of the operations decides what truncation gives, and is part of the interface.
int32_t side_in_proportion(int32_t old, int32_t other_old, int32_t other_new) noexcept
{
    const double side = static_cast<double>(std::max(old, other_new)) / static_cast<double>(other_old) *
                        static_cast<double>(std::min(old, other_new));
    return side <= static_cast<double>(INT32_MAX) ? static_cast<int32_t>(side) : 0;
}

/// How often a row is emitted; notes it in the state.
int32_t take_row(ResizeLineState& state, int32_t row) noexcept
{
    const int64_t before = int64_t{row} * state.y_remainder % state.old_height;
    const int64_t after = before + state.y_remainder;
    const bool carries = after >= state.old_height;
    if (row == state.last_row + 1)
        state.is_reverse = 0;
    else if (row == state.last_row - 1)
        state.is_reverse = 1;
    state.y_accumulator = static_cast<int32_t>(carries ? after - state.old_height : after);
    state.last_row = row;
    return state.y_quotient + (carries ? 1 : 0);
}

void resize_in_place(uint8_t* row, int32_t bits, const ResizeLineState& state) noexcept
{
    const resize::ScanLine line = resize::whole_line(bits, state.old_width, state.new_width);
    if (state.new_width > state.old_width)
        resize::scan_backward(line, row, row);
    else if (state.new_width < state.old_width)
        resize::scan_forward(line, row, row);
}

bool is_scan_depth(int32_t bits) noexcept
{
    return bits >= 1 && bits <= 64;
}

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

bool complete_size(int32_t old_width, int32_t old_height, int32_t& new_width, int32_t& new_height) noexcept
{
    if (old_width <= 0 || old_height <= 0 || new_width < 0 || new_height < 0 || (new_width == 0 && new_height == 0))
        return false;
    if (new_width == 0)
        new_width = side_in_proportion(old_width, old_height, new_height);
    else if (new_height == 0)
        new_height = side_in_proportion(old_height, old_width, new_width);
    return new_width > 0 && new_height > 0;
}

} // namespace vk

using namespace vk;

int V_StartResize(int32_t nOldWidth, int32_t nOldHeight, int32_t nNewWidth, int32_t nNewHeight, void** ppState) noexcept
{
    if (!ppState)
        return V_ERROR_INVALID_PARAMETER;
    *ppState = nullptr;
    if (!complete_size(nOldWidth, nOldHeight, nNewWidth, nNewHeight))
        return V_ERROR_INVALID_PARAMETER;
    void* const memory = platform::heap_alloc(sizeof(ResizeLineState));
    if (!memory)
        return V_ERROR_NO_MEMORY;
    *ppState = new (memory) ResizeLineState{.old_width = nOldWidth,
                                            .old_height = nOldHeight,
                                            .new_width = nNewWidth,
                                            .new_height = nNewHeight,
                                            .x_quotient = nOldWidth / nNewWidth,
                                            .x_remainder = nOldWidth % nNewWidth,
                                            .y_quotient = nNewHeight / nOldHeight,
                                            .y_remainder = nNewHeight % nOldHeight};
    return V_SUCCESS;
}

int V_Resize(void* pRow, int32_t nRow, int32_t nBitsPerPixel, int32_t* pnNewWidth, int32_t* pnCopies,
             void* pState) noexcept
{
    if (!pRow || !pnCopies || !pState)
        return V_ERROR_INVALID_PARAMETER;
    auto& state = *static_cast<ResizeLineState*>(pState);
    const bool is_same = state.new_width == state.old_width && state.new_height == state.old_height;
    if (!is_same && (nRow < 0 || nRow >= state.old_height || !is_scan_depth(nBitsPerPixel)))
        return V_ERROR_INVALID_PARAMETER;
    const int32_t copies = is_same ? 1 : take_row(state, nRow);
    if (!is_same && copies > 0)
        resize_in_place(static_cast<uint8_t*>(pRow), nBitsPerPixel, state);
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
