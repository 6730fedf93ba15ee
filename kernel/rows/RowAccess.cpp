#include "kernel/rows/RowAccess.h"

#include "kernel/system/Checks.h"
#include "kernel/rows/RowCol.h"
#include "kernel/format/RowMath.h"
#include "kernel/system/ThreadState.h"
#include "kernel/storage/Store.h"
#include "platform/platform.h"

#include <algorithm>
#include <cstring>

namespace vk {

namespace {

constexpr uint64_t kBufferBytes = 256 * 1024;

/// Row 0 in memory, or null when the rows must be moved.
uint8_t* memory_rows(const BITMAPHANDLE& bitmap) noexcept
{
    return store_of(bitmap.Flags) == &kConventionalStore && kConventionalStore.extent(bitmap) >= plain_size(bitmap)
               ? bitmap.Data
               : nullptr;
}

uint64_t rows_bytes(const BITMAPHANDLE& bitmap, int32_t count) noexcept
{
    return uint64_t{bitmap.BytesPerLine} * static_cast<uint32_t>(count);
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

RowBuffer::~RowBuffer()
{
    platform::heap_free(data_);
}

bool RowBuffer::allocate(uint64_t bytes) noexcept
{
    platform::heap_free(data_);
    data_ = bytes > SIZE_MAX / 2 ? nullptr : static_cast<uint8_t*>(platform::heap_alloc(static_cast<size_t>(bytes)));
    if (data_)
        std::memset(data_, 0, static_cast<size_t>(bytes));
    return data_ != nullptr;
}

RowReader::RowReader(BITMAPHANDLE& bitmap) noexcept : bitmap_(bitmap)
{
    const BITMAPDATACALLBACKS* const calls = data_callbacks(bitmap);
    rows_ = calls && calls->GetBitmapRowColCallback ? nullptr : memory_rows(bitmap);
}

int RowReader::reserve(int32_t count) noexcept
{
    return in_place() || buffer_.allocate(rows_bytes(bitmap_, count)) ? V_SUCCESS : V_ERROR_NO_MEMORY;
}

int RowReader::read(int32_t row, int32_t count, const uint8_t** rows) noexcept
{
    if (in_place()) {
        *rows = rows_ + rows_bytes(bitmap_, row);
        return V_SUCCESS;
    }
    *rows = buffer_.data();
    return code_of(get_row(bitmap_, buffer_.data(), row, static_cast<size_t>(rows_bytes(bitmap_, count))));
}

RowWriter::RowWriter(BITMAPHANDLE& bitmap) noexcept : bitmap_(bitmap)
{
    const BITMAPDATACALLBACKS* const calls = data_callbacks(bitmap);
    rows_ = calls && calls->PutBitmapRowColCallback ? nullptr : memory_rows(bitmap);
}

int RowWriter::reserve(int32_t count) noexcept
{
    return in_place() || buffer_.allocate(rows_bytes(bitmap_, count)) ? V_SUCCESS : V_ERROR_NO_MEMORY;
}

uint8_t* RowWriter::place(int32_t row) const noexcept
{
    return in_place() ? rows_ + rows_bytes(bitmap_, row) : buffer_.data();
}

int RowWriter::write(int32_t row, int32_t count) noexcept
{
    if (in_place())
        return V_SUCCESS;
    return code_of(put_row(bitmap_, buffer_.data(), row, static_cast<size_t>(rows_bytes(bitmap_, count))));
}

} // namespace vk
