// Run-length rows for callers: compressing and expanding memory, and moving the rows of 1-bit bitmaps in compressed
// form. Where the bitmap is stored that way too, and no callback wants to see the pixels, rows are moved as they are;
// all other storage goes through the row functions and a row of pixels.
#include "kernel/system/Checks.h"
#include "kernel/rows/RowCol.h"
#include "kernel/format/RowMath.h"
#include "kernel/runs/RunLength.h"
#include "kernel/storage/Compressed.h"
#include "platform/platform.h"

#include <cstring>

using namespace vk;

namespace {

/// Bytes for the time of one call.
class Scratch {
public:
    explicit Scratch(size_t bytes) noexcept : bytes_(static_cast<uint8_t*>(platform::heap_alloc(bytes))) {}
    ~Scratch() { platform::heap_free(bytes_); }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;

    uint8_t* get() const noexcept { return bytes_; }

private:
    uint8_t* bytes_;
};

constexpr uint32_t bit_of(int32_t offset) noexcept
{
    return static_cast<uint32_t>(offset) % 8u;
}

/// The pixels of a row from a column to the end, or as many as a transfer concerns, and the bytes that hold them.
struct Span {
    int32_t row;
    int32_t column;
    uint32_t pixels;

    uint32_t bit() const noexcept { return bit_of(column); }
    size_t bytes() const noexcept { return static_cast<size_t>(packed_bytes(uint64_t{bit()} + pixels, 1)); }
};

int check_row(const BITMAPHANDLE* bitmap, const void* buffer, int32_t row, int32_t column) noexcept
{
    if (!buffer)
        return V_ERROR_INVALID_PARAMETER;
    const int result = check_allocated(bitmap);
    if (result != V_SUCCESS)
        return result;
    if (bitmap->BitsPerPixel != 1)
        return V_ERROR_INVALID_BITS_PER_PIXEL;
    if (row < 0 || row >= bitmap->Height || column < 0 || column >= bitmap->Width)
        return V_ERROR_INVALID_PARAMETER;
    return row_holds_width(bitmap->BytesPerLine, bitmap->Width, 1) ? V_SUCCESS : V_ERROR_INVALID_WIDTH_HEIGHT;
}

/// What a row transfer came to: SUCCESS when all bytes moved.
intptr_t outcome(intptr_t moved, size_t bytes) noexcept
{
    if (moved < 0)
        return moved;
    return static_cast<size_t>(moved) == bytes ? V_SUCCESS : V_ERROR_NO_MEMORY;
}

bool stored_compressed(const BITMAPHANDLE& bitmap, int32_t row) noexcept
{
    return (bitmap.Flags & BITMAPFLAG_COMPRESSED) != 0 && compressed_has_row(bitmap, row);
}

/// Gives a row of the compressed store.
intptr_t give_stored(const BITMAPHANDLE& bitmap, void* buffer, int32_t row, size_t room) noexcept
{
    const auto width = static_cast<uint32_t>(bitmap.Width);
    const void* const stored = compressed_row(bitmap, row);
    const size_t bytes =
        stored ? runlength::row_bytes(runlength::word_count(stored)) : runlength::clear_row_bytes(width);
    if (bytes > room)
        return V_ERROR_BUFFER_TOO_SMALL;
    if (stored)
        std::memcpy(buffer, stored, bytes);
    else
        runlength::compress_clear(buffer, width);
    return static_cast<intptr_t>(bytes);
}

intptr_t get_compressed(BITMAPHANDLE& bitmap, void* buffer, const Span& span, size_t room) noexcept
{
    const BITMAPDATACALLBACKS* const calls = data_callbacks(bitmap);
    const bool watched = calls && calls->GetBitmapRowColCallback;
    if (!watched && span.column == 0 && stored_compressed(bitmap, span.row))
        return give_stored(bitmap, buffer, span.row, room);
    const Scratch pixels(span.bytes());
    if (!pixels.get())
        return V_ERROR_NO_MEMORY;
    const intptr_t result =
        outcome(get_row_col(bitmap, pixels.get(), span.row, span.column, span.bytes()), span.bytes());
    if (result != V_SUCCESS)
        return result;
    if (room < runlength::max_row_bytes(span.pixels) &&
        room < runlength::measure(pixels.get(), span.bit(), span.pixels))
        return V_ERROR_BUFFER_TOO_SMALL;
    return static_cast<intptr_t>(runlength::compress(buffer, pixels.get(), span.bit(), span.pixels));
}

/// Puts the pixels of a run-length row over those of a span, which its runs cover or which is a whole row.
intptr_t put_pixels(BITMAPHANDLE& bitmap, const void* run_row, const Span& span, bool whole) noexcept
{
    const size_t bytes = span.bytes();
    const Scratch pixels(bytes);
    if (!pixels.get())
        return V_ERROR_NO_MEMORY;
    if (whole) {
        runlength::expand(run_row, pixels.get(), 0, span.pixels);
    } else {
        const intptr_t result = outcome(get_row_col(bitmap, pixels.get(), span.row, span.column, bytes), bytes);
        if (result != V_SUCCESS)
            return result;
        runlength::overlay(run_row, pixels.get(), span.bit(), span.pixels);
    }
    return outcome(put_row_col(bitmap, pixels.get(), span.row, span.column, bytes), bytes);
}

intptr_t put_compressed(BITMAPHANDLE& bitmap, const void* run_row, Span span, size_t room, bool whole) noexcept
{
    if (room < runlength::row_bytes(0))
        return V_ERROR_BUFFER_TOO_SMALL;
    const size_t used = runlength::row_bytes(runlength::word_count(run_row));
    if (room < used)
        return V_ERROR_BUFFER_TOO_SMALL;
    if (!whole)
        span.pixels = runlength::covered(run_row, span.pixels);
    if (span.pixels == 0)
        return static_cast<intptr_t>(used);
    const BITMAPDATACALLBACKS* const calls = data_callbacks(bitmap);
    const bool watched = calls && calls->PutBitmapRowColCallback;
    intptr_t result = V_SUCCESS;
    if (!watched && whole && stored_compressed(bitmap, span.row)) {
        result = compressed_put_row(bitmap, span.row, run_row);
        recount_size(bitmap);
    } else {
        result = put_pixels(bitmap, run_row, span, whole);
    }
    return result == V_SUCCESS ? static_cast<intptr_t>(used) : result;
}

Span span_from(const BITMAPHANDLE& bitmap, int32_t row, int32_t column) noexcept
{
    return Span{row, column, static_cast<uint32_t>(bitmap.Width - column)};
}

void compress_rows(void* to, const void* from, uint32_t bit, uint32_t pixels, int32_t rows, size_t stride) noexcept
{
    auto* out = static_cast<uint8_t*>(to);
    const auto* in = static_cast<const uint8_t*>(from);
    for (int32_t i = 0; i < rows; ++i, in += stride)
        out += runlength::compress(out, in, bit, pixels);
}

void expand_rows(const void* from, void* to, uint32_t start, uint32_t pixels, int32_t rows, size_t stride) noexcept
{
    const auto* in = static_cast<const uint8_t*>(from);
    auto* out = static_cast<uint8_t*>(to);
    for (int32_t i = 0; i < rows; ++i, out += stride) {
        runlength::expand(in, out, start, pixels);
        in += runlength::row_bytes(runlength::word_count(in));
    }
}

} // namespace

int V_CompressRow(void* pDst, const void* pSrc, int32_t nBitOffset, int32_t nPixels) noexcept
{
    return V_CompressRows(pDst, pSrc, nBitOffset, nPixels, 1, 0);
}

int V_ExpandRow(const void* pSrc, void* pDst, int32_t nStart, int32_t nPixels) noexcept
{
    return V_ExpandRows(pSrc, pDst, nStart, nPixels, 1, 0);
}

int V_CompressRows(void* pDst, const void* pSrc, int32_t nBitOffset, int32_t nPixels, int32_t nRows,
                   size_t uSrcStride) noexcept
{
    if (!pDst || !pSrc || nPixels < 0 || nRows < 0)
        return V_ERROR_INVALID_PARAMETER;
    compress_rows(pDst, pSrc, bit_of(nBitOffset), static_cast<uint32_t>(nPixels), nRows, uSrcStride);
    return nPixels;
}

int V_ExpandRows(const void* pSrc, void* pDst, int32_t nStart, int32_t nPixels, int32_t nRows,
                 size_t uDstStride) noexcept
{
    if (!pSrc || !pDst || nStart < 0 || nPixels < 0 || nRows < 0)
        return V_ERROR_INVALID_PARAMETER;
    expand_rows(pSrc, pDst, static_cast<uint32_t>(nStart), static_cast<uint32_t>(nPixels), nRows, uDstStride);
    return V_SUCCESS;
}

intptr_t V_GetBitmapRowCompressed(BITMAPHANDLE* pBitmap, void* pBuffer, int32_t nRow, size_t uBytes) noexcept
{
    return V_GetBitmapRowColCompressed(pBitmap, pBuffer, nRow, 0, uBytes);
}

intptr_t V_PutBitmapRowCompressed(BITMAPHANDLE* pBitmap, const void* pBuffer, int32_t nRow, size_t uBytes) noexcept
{
    const int result = check_row(pBitmap, pBuffer, nRow, 0);
    if (result != V_SUCCESS)
        return result;
    return put_compressed(*pBitmap, pBuffer, span_from(*pBitmap, nRow, 0), uBytes, true);
}

intptr_t V_GetBitmapRowColCompressed(BITMAPHANDLE* pBitmap, void* pBuffer, int32_t nRow, int32_t nCol,
                                     size_t uBytes) noexcept
{
    const int result = check_row(pBitmap, pBuffer, nRow, nCol);
    if (result != V_SUCCESS)
        return result;
    return get_compressed(*pBitmap, pBuffer, span_from(*pBitmap, nRow, nCol), uBytes);
}

intptr_t V_PutBitmapRowColCompressed(BITMAPHANDLE* pBitmap, const void* pBuffer, int32_t nRow, int32_t nCol,
                                     size_t uBytes) noexcept
{
    const int result = check_row(pBitmap, pBuffer, nRow, nCol);
    if (result != V_SUCCESS)
        return result;
    return put_compressed(*pBitmap, pBuffer, span_from(*pBitmap, nRow, nCol), uBytes, false);
}

int V_MirrorCompressedBuffer(void* pBuffer, int32_t nPixels) noexcept
{
    if (!pBuffer || nPixels < 0)
        return V_ERROR_INVALID_PARAMETER;
    return runlength::mirror(pBuffer, static_cast<uint32_t>(nPixels)) ? V_SUCCESS : V_ERROR_INVALID_PARAMETER;
}

int V_FlipCompressedBuffer(void* pBuffer, int32_t nRows) noexcept
{
    if (!pBuffer || nRows < 0)
        return V_ERROR_INVALID_PARAMETER;
    runlength::flip(pBuffer, static_cast<uint32_t>(nRows));
    return V_SUCCESS;
}
