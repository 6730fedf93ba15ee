// Moving the rows of 1-bit bitmaps in run-length form. Where the bitmap is stored that way too, and no callback wants
// to see the pixels, rows are moved as they are; all other storage goes through the row functions and a row of pixels.
#include "kernel/rows/CompressedRows.h"

#include "kernel/rows/RowCol.h"
#include "kernel/runs/RunLength.h"
#include "kernel/storage/Compressed.h"
#include "kernel/storage/Storage.h"
#include "kernel/system/Checks.h"
#include "platform/platform.h"

#include <cstring>

namespace vk {

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

/// What a row transfer came to: SUCCESS when all bytes moved.
intptr_t outcome(intptr_t moved, size_t bytes) noexcept
{
    if (moved < 0)
        return moved;
    return static_cast<size_t>(moved) == bytes ? V_SUCCESS : V_ERROR_NO_MEMORY;
}

bool stored_compressed(const BITMAPHANDLE& bitmap, int32_t row) noexcept
{
    return has_run_rows(bitmap) && compressed_has_row(bitmap, row);
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

/// Puts the pixels of a run-length row over those of a span, which its runs cover or which is a whole row.
intptr_t put_pixels(BITMAPHANDLE& bitmap, const void* run_row, const RowSpan& span, bool whole) noexcept
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

} // namespace

intptr_t get_compressed(BITMAPHANDLE& bitmap, void* buffer, const RowSpan& span, size_t room) noexcept
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

intptr_t put_compressed(BITMAPHANDLE& bitmap, const void* run_row, RowSpan span, size_t room, bool whole) noexcept
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

} // namespace vk
