// The rows family's door: access counted, and rows moved by row, by row and column, by segments and in run-length form.
//
// Inside: Locks.cpp counts access, RowCol.cpp moves bytes and is the one place where positions are checked,
// Segments.cpp and CompressedRows.cpp stand on it; RowAccess.h gives whole-bitmap operations their rows, in place where
// they are memory.
#include "Vkrows.h"

#include "kernel/rows/CompressedRows.h"
#include "kernel/rows/Locks.h"
#include "kernel/rows/RowCol.h"
#include "kernel/rows/Segments.h"
#include "kernel/system/Checks.h"

using namespace vk;

namespace {

int check_arguments(const BITMAPHANDLE* bitmap, const void* buffer, const char* function) noexcept
{
    const int result = buffer ? check_record(bitmap) : V_ERROR_INVALID_PARAMETER;
    if (result == V_SUCCESS)
        trace_access(*bitmap, function);
    return result;
}

bool lies_within(const ROWSEGMENT& segment, int32_t width) noexcept
{
    return segment.nCol >= 0 && segment.nWidth >= 0 && segment.nCol <= width && segment.nWidth <= width - segment.nCol;
}

int check_run_row(const BITMAPHANDLE* bitmap, const void* buffer, int32_t row, int32_t column,
                  const char* function) noexcept
{
    if (!buffer)
        return V_ERROR_INVALID_PARAMETER;
    const int result = check_allocated(bitmap);
    if (result != V_SUCCESS)
        return result;
    trace_access(*bitmap, function);
    if (bitmap->BitsPerPixel != 1)
        return V_ERROR_INVALID_BITS_PER_PIXEL;
    if (row < 0 || row >= bitmap->Height || column < 0 || column >= bitmap->Width)
        return V_ERROR_INVALID_PARAMETER;
    return row_holds_width(bitmap->BytesPerLine, bitmap->Width, 1) ? V_SUCCESS : V_ERROR_INVALID_WIDTH_HEIGHT;
}

RowSpan span_from(const BITMAPHANDLE& bitmap, int32_t row, int32_t column) noexcept
{
    return {row, column, static_cast<uint32_t>(bitmap.Width - column)};
}

} // namespace

int V_AccessBitmap(BITMAPHANDLE* pBitmap) noexcept
{
    return pBitmap ? access_bitmap(*pBitmap) : V_ERROR_NULL_PTR;
}

int V_ReleaseBitmap(BITMAPHANDLE* pBitmap) noexcept
{
    if (!pBitmap)
        return V_ERROR_NULL_PTR;
    return is_record_size(pBitmap->StructSize) ? release_bitmap(*pBitmap) : V_ERROR_INVALID_STRUCT_SIZE;
}

intptr_t V_GetBitmapRow(BITMAPHANDLE* pBitmap, void* pBuffer, int32_t nRow, size_t uBytes) noexcept
{
    const int result = check_arguments(pBitmap, pBuffer, "V_GetBitmapRow");
    return result == V_SUCCESS ? get_row_col(*pBitmap, pBuffer, nRow, 0, uBytes) : result;
}

intptr_t V_PutBitmapRow(BITMAPHANDLE* pBitmap, const void* pBuffer, int32_t nRow, size_t uBytes) noexcept
{
    const int result = check_arguments(pBitmap, pBuffer, "V_PutBitmapRow");
    return result == V_SUCCESS ? put_row_col(*pBitmap, pBuffer, nRow, 0, uBytes) : result;
}

intptr_t V_GetBitmapRowCol(BITMAPHANDLE* pBitmap, void* pBuffer, int32_t nRow, int32_t nCol, size_t uBytes) noexcept
{
    const int result = check_arguments(pBitmap, pBuffer, "V_GetBitmapRowCol");
    return result == V_SUCCESS ? get_row_col(*pBitmap, pBuffer, nRow, nCol, uBytes) : result;
}

intptr_t V_PutBitmapRowCol(BITMAPHANDLE* pBitmap, const void* pBuffer, int32_t nRow, int32_t nCol,
                           size_t uBytes) noexcept
{
    const int result = check_arguments(pBitmap, pBuffer, "V_PutBitmapRowCol");
    return result == V_SUCCESS ? put_row_col(*pBitmap, pBuffer, nRow, nCol, uBytes) : result;
}

intptr_t V_PutBitmapRowSegments(BITMAPHANDLE* pBitmap, const void* pRow, int32_t nRow, const ROWSEGMENT* pSegments,
                                uint32_t uSegments) noexcept
{
    if (!pRow || (!pSegments && uSegments))
        return V_ERROR_INVALID_PARAMETER;
    const int result = check_allocated(pBitmap);
    if (result != V_SUCCESS)
        return result;
    trace_access(*pBitmap, "V_PutBitmapRowSegments");
    if (nRow < 0 || nRow >= pBitmap->Height)
        return V_ERROR_INVALID_PARAMETER;
    if (!row_holds_width(pBitmap->BytesPerLine, pBitmap->Width, pBitmap->BitsPerPixel))
        return V_ERROR_INVALID_WIDTH_HEIGHT;
    for (uint32_t i = 0; i < uSegments; ++i)
        if (!lies_within(pSegments[i], pBitmap->Width))
            return V_ERROR_INVALID_PARAMETER;
    return put_segments(*pBitmap, static_cast<const uint8_t*>(pRow), nRow, pSegments, uSegments);
}

intptr_t V_GetBitmapRowCompressed(BITMAPHANDLE* pBitmap, void* pBuffer, int32_t nRow, size_t uBytes) noexcept
{
    const int result = check_run_row(pBitmap, pBuffer, nRow, 0, "V_GetBitmapRowCompressed");
    if (result != V_SUCCESS)
        return result;
    return get_compressed(*pBitmap, pBuffer, span_from(*pBitmap, nRow, 0), uBytes);
}

intptr_t V_PutBitmapRowCompressed(BITMAPHANDLE* pBitmap, const void* pBuffer, int32_t nRow, size_t uBytes) noexcept
{
    const int result = check_run_row(pBitmap, pBuffer, nRow, 0, "V_PutBitmapRowCompressed");
    if (result != V_SUCCESS)
        return result;
    return put_compressed(*pBitmap, pBuffer, span_from(*pBitmap, nRow, 0), uBytes, true);
}

intptr_t V_GetBitmapRowColCompressed(BITMAPHANDLE* pBitmap, void* pBuffer, int32_t nRow, int32_t nCol,
                                     size_t uBytes) noexcept
{
    const int result = check_run_row(pBitmap, pBuffer, nRow, nCol, "V_GetBitmapRowColCompressed");
    if (result != V_SUCCESS)
        return result;
    return get_compressed(*pBitmap, pBuffer, span_from(*pBitmap, nRow, nCol), uBytes);
}

intptr_t V_PutBitmapRowColCompressed(BITMAPHANDLE* pBitmap, const void* pBuffer, int32_t nRow, int32_t nCol,
                                     size_t uBytes) noexcept
{
    const int result = check_run_row(pBitmap, pBuffer, nRow, nCol, "V_PutBitmapRowColCompressed");
    if (result != V_SUCCESS)
        return result;
    return put_compressed(*pBitmap, pBuffer, span_from(*pBitmap, nRow, nCol), uBytes, false);
}
