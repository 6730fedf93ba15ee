#include "kernel/rows/RowAccess.h"

#include "kernel/format/RowMath.h"
#include "kernel/rows/Operation.h"
#include "kernel/rows/RowCol.h"
#include "kernel/storage/Store.h"
#include "kernel/system/Checks.h"
#include "kernel/system/ThreadState.h"
#include "platform/platform.h"

#include <algorithm>
#include <cstring>

namespace vk {

namespace {

constexpr uint64_t kBufferBytes = 256 * 1024;

/// Row 0 in memory, or null when the rows must be moved.
uint8_t* memory_rows(const BITMAPHANDLE& bitmap) noexcept
{
    const Store* const store = store_of(bitmap);
    return store && store->is_block && store->calls.extent(bitmap) >= plain_size(bitmap) ? bitmap.Data : nullptr;
}

uint64_t rows_bytes(const BITMAPHANDLE& bitmap, int32_t count) noexcept
{
    return uint64_t{bitmap.BytesPerLine} * static_cast<uint32_t>(count);
}

/// What the bitmap's callback lends for an operation; null when there is none to ask, or when it has nothing to lend.
int ask_scratch(BITMAPHANDLE& bitmap, uint64_t bytes, void** lent) noexcept
{
    const BITMAPDATACALLBACKS* const calls = data_callbacks(bitmap);
    if (!calls || !calls->GetBitmapScratchBufferCallback || bytes > SIZE_MAX / 2 || !Operation::takes_scratch(bitmap))
        return V_SUCCESS;
    return calls->GetBitmapScratchBufferCallback(&bitmap, lent, static_cast<size_t>(bytes), calls->UserData);
}

bool has_callback(const BITMAPHANDLE& bitmap, V_BITMAPROWCOLCALLBACK BITMAPDATACALLBACKS::*member) noexcept
{
    const BITMAPDATACALLBACKS* const calls = data_callbacks(bitmap);
    return calls && calls->*member;
}

} // namespace

int check_rows(const BITMAPHANDLE& bitmap) noexcept
{
    if (!(bitmap.Flags & BITMAPFLAG_ALLOCATED))
        return V_ERROR_INVALID_IMAGE;
    const bool is_plain = bitmap.Width > 0 && bitmap.Height > 0 && is_bitmap_depth(bitmap.BitsPerPixel);
    return is_plain && row_holds_width(bitmap.BytesPerLine, bitmap.Width, bitmap.BitsPerPixel)
               ? V_SUCCESS
               : V_ERROR_INVALID_WIDTH_HEIGHT;
}

int32_t reported_rows(int32_t height) noexcept
{
    return thread_state().status_callback ? std::max(height / 100, 1) : height;
}

int32_t buffered_rows(const BITMAPHANDLE& from, const BITMAPHANDLE& to) noexcept
{
    const uint32_t from_line = from.BytesPerLine;
    const uint32_t line = std::max<uint32_t>({1u, from_line, uint32_t{to.BytesPerLine}});
    const auto most = static_cast<uint32_t>(reported_rows(from.Height));
    return static_cast<int32_t>(std::clamp<uint64_t>(kBufferBytes / line, 1, most));
}

int get_rows(BITMAPHANDLE& bitmap, void* buffer, int32_t row, int32_t count) noexcept
{
    if (!has_callback(bitmap, &BITMAPDATACALLBACKS::GetBitmapRowColCallback))
        return code_of(get_row(bitmap, buffer, row, static_cast<size_t>(rows_bytes(bitmap, count))));
    int result = V_SUCCESS;
    for (int32_t i = 0; i < count && result == V_SUCCESS; ++i)
        result = code_of(
            get_row(bitmap, static_cast<uint8_t*>(buffer) + rows_bytes(bitmap, i), row + i, bitmap.BytesPerLine));
    return result;
}

int put_rows(BITMAPHANDLE& bitmap, const void* buffer, int32_t row, int32_t count) noexcept
{
    if (!has_callback(bitmap, &BITMAPDATACALLBACKS::PutBitmapRowColCallback))
        return code_of(put_row(bitmap, buffer, row, static_cast<size_t>(rows_bytes(bitmap, count))));
    int result = V_SUCCESS;
    for (int32_t i = 0; i < count && result == V_SUCCESS; ++i)
        result = code_of(
            put_row(bitmap, static_cast<const uint8_t*>(buffer) + rows_bytes(bitmap, i), row + i, bitmap.BytesPerLine));
    return result;
}

void RowBuffer::drop() noexcept
{
    if (!is_lent_)
        platform::heap_free(data_);
    data_ = nullptr;
    is_lent_ = false;
}

RowBuffer::~RowBuffer()
{
    drop();
}

bool RowBuffer::allocate(uint64_t bytes) noexcept
{
    drop();
    data_ = bytes > SIZE_MAX / 2 ? nullptr : static_cast<uint8_t*>(platform::heap_alloc(static_cast<size_t>(bytes)));
    if (data_)
        std::memset(data_, 0, static_cast<size_t>(bytes));
    return data_ != nullptr;
}

int RowBuffer::allocate_for(BITMAPHANDLE& bitmap, uint64_t bytes) noexcept
{
    void* lent = nullptr;
    const int result = ask_scratch(bitmap, bytes, &lent);
    if (result != V_SUCCESS)
        return result;
    if (!lent)
        return allocate(bytes) ? V_SUCCESS : V_ERROR_NO_MEMORY;
    drop();
    data_ = static_cast<uint8_t*>(lent);
    is_lent_ = true;
    std::memset(data_, 0, static_cast<size_t>(bytes));
    return V_SUCCESS;
}

RowReader::RowReader(BITMAPHANDLE& bitmap) noexcept
    : bitmap_(bitmap),
      rows_(has_callback(bitmap, &BITMAPDATACALLBACKS::GetBitmapRowColCallback) ? nullptr : memory_rows(bitmap))
{}

int RowReader::reserve(int32_t count) noexcept
{
    return in_place() ? V_SUCCESS : buffer_.allocate_for(bitmap_, rows_bytes(bitmap_, count));
}

int RowReader::read(int32_t row, int32_t count, const uint8_t** rows) noexcept
{
    if (in_place()) {
        *rows = rows_ + rows_bytes(bitmap_, row);
        return V_SUCCESS;
    }
    *rows = buffer_.data();
    return get_rows(bitmap_, buffer_.data(), row, count);
}

RowWriter::RowWriter(BITMAPHANDLE& bitmap) noexcept
    : bitmap_(bitmap),
      rows_(has_callback(bitmap, &BITMAPDATACALLBACKS::PutBitmapRowColCallback) ? nullptr : memory_rows(bitmap))
{}

int RowWriter::reserve(int32_t count) noexcept
{
    return in_place() ? V_SUCCESS : buffer_.allocate_for(bitmap_, rows_bytes(bitmap_, count));
}

uint8_t* RowWriter::place(int32_t row) const noexcept
{
    return in_place() ? rows_ + rows_bytes(bitmap_, row) : buffer_.data();
}

int RowWriter::write(int32_t row, int32_t count) noexcept
{
    return in_place() ? V_SUCCESS : put_rows(bitmap_, buffer_.data(), row, count);
}

} // namespace vk
