// Rows in and out of a bitmap, by row and by row and column. Here alone positions are worked out and checked: a store
// sees only bytes it has. Bytes may run over the end of a row into the next; outside the storage nothing moves.
#include "kernel/rows/RowCol.h"

#include "kernel/format/RowMath.h"
#include "kernel/storage/Store.h"
#include "kernel/system/Checks.h"

namespace vk {

namespace {

/// Position of a transfer within the storage; negative for rows before the first.
int64_t position_of(const BITMAPHANDLE& bitmap, int32_t row, int32_t column) noexcept
{
    return int64_t{row} * bitmap.BytesPerLine + column_offset(bitmap.BitsPerPixel, column);
}

/// SUCCESS when all bytes lie within the storage, else the result of the transfer.
int check_span(const BITMAPHANDLE& bitmap, const Store& store, int64_t position, size_t bytes, int past_end) noexcept
{
    if (position < 0)
        return store.before_start;
    const uint64_t extent = store.calls.extent(bitmap);
    const auto start = static_cast<uint64_t>(position);
    return start <= extent && bytes <= extent - start ? V_SUCCESS : past_end;
}

} // namespace

void recount_size(BITMAPHANDLE& bitmap) noexcept
{
    const Store* const store = store_of(bitmap);
    set_data_size(bitmap, store ? store->calls.recount(bitmap) : plain_size(bitmap)); // none: a callback holds the rows
}

intptr_t get_row_col(BITMAPHANDLE& bitmap, void* buffer, int32_t row, int32_t column, size_t bytes) noexcept
{
    if (const BITMAPDATACALLBACKS* const calls = data_callbacks(bitmap); calls && calls->GetBitmapRowColCallback) {
        const intptr_t result = calls->GetBitmapRowColCallback(&bitmap, buffer, row, column, bytes, calls->UserData);
        if (result != 0)
            return result;
    }
    const Store* const store = store_of(bitmap);
    if (!store)
        return V_ERROR_NO_MEMORY;
    if (bytes == 0)
        return 0;
    const int64_t position = position_of(bitmap, row, column);
    const int span = check_span(bitmap, *store, position, bytes, store->read_past_end);
    return span == V_SUCCESS ? store->calls.read(bitmap, static_cast<uint64_t>(position), buffer, bytes) : span;
}

intptr_t put_row_col(BITMAPHANDLE& bitmap, const void* buffer, int32_t row, int32_t column, size_t bytes) noexcept
{
    if (const BITMAPDATACALLBACKS* const calls = data_callbacks(bitmap); calls && calls->PutBitmapRowColCallback) {
        void* const lent = const_cast<void*>(buffer); // one callback type serves both directions
        const intptr_t result = calls->PutBitmapRowColCallback(&bitmap, lent, row, column, bytes, calls->UserData);
        if (result != 0)
            return result;
    }
    const Store* const store = store_of(bitmap);
    if (!store)
        return V_ERROR_NO_MEMORY;
    if (bytes == 0)
        return 0;
    const int64_t position = position_of(bitmap, row, column);
    const int span = check_span(bitmap, *store, position, bytes, V_ERROR_INVALID_PARAMETER);
    if (span != V_SUCCESS)
        return span;
    const intptr_t moved = store->calls.write(bitmap, static_cast<uint64_t>(position), buffer, bytes);
    if (store->whole_rows)
        recount_size(bitmap);
    return moved;
}

} // namespace vk
