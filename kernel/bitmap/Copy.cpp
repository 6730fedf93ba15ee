// Copying pixels from bitmap to bitmap, and whole bitmaps. Rows are moved as they are stored, by the shortest way that
// the two kinds of storage leave; data callbacks may do the work instead.
#include "Vkbitmap.h"
#include "kernel/bitmap/Alloc.h"
#include "kernel/bitmap/Duplicate.h"
#include "kernel/bitmap/Record.h"
#include "kernel/convert/Convert.h"
#include "kernel/rows/Locks.h"
#include "kernel/rows/RowAccess.h"
#include "kernel/rows/RowCol.h"
#include "kernel/system/Checks.h"

#include <algorithm>

namespace vk {

namespace {

/// One batch of rows. Where both are memory, the converter's copy knows best how to move much at once.
int move_rows(RowReader& reader, RowWriter& writer, BITMAPHANDLE& from, BITMAPHANDLE& to, int32_t row, int32_t rows,
              bool reversed) noexcept
{
    const size_t line = from.BytesPerLine;
    if (writer.in_place() && !reader.in_place() && !reversed)
        return get_rows(from, writer.place(row), row, rows);
    const uint8_t* data = nullptr;
    int result = reader.read(row, rows, &data);
    if (result != V_SUCCESS)
        return result;
    if (reversed) {
        for (int32_t i = 0; i < rows && result == V_SUCCESS; ++i)
            result = put_rows(to, data + line * static_cast<uint32_t>(i), from.Height - 1 - row - i, 1);
        return result;
    }
    if (!writer.in_place())
        return put_rows(to, data, row, rows);
    ConvertJob bytes_as_they_are;
    bytes_as_they_are.width = static_cast<int32_t>(line);
    bytes_as_they_are.src_bits = bytes_as_they_are.dst_bits = 8;
    bytes_as_they_are.src_order = bytes_as_they_are.dst_order = COLORORDER_GRAY;
    return convert_rows({data, line}, {writer.place(row), line}, static_cast<size_t>(rows), bytes_as_they_are);
}

int copy_accessed(BITMAPHANDLE& to, BITMAPHANDLE& from, const ProgressShare& share) noexcept
{
    Progress progress(from.Height, share);
    const int result = progress.begin();
    return result == V_SUCCESS ? copy_rows(from, to, from.ViewPerspective != to.ViewPerspective, progress) : result;
}

int copy_with_access(BITMAPHANDLE& to, BITMAPHANDLE& from, const ProgressShare& share) noexcept
{
    BitmapAccess from_access(from);
    if (from_access.result() != V_SUCCESS)
        return from_access.result();
    BitmapAccess to_access(to);
    if (to_access.result() != V_SUCCESS)
        return to_access.result();
    const int result = copy_accessed(to, from, share);
    const int released = release_both(to_access, from_access);
    return first_failure(result, released);
}

/// Whose copy callbacks count: the source's, else the destination's.
const BITMAPDATACALLBACKS* copy_callbacks(const BITMAPHANDLE& to, const BITMAPHANDLE& from) noexcept
{
    const auto has = [](const BITMAPDATACALLBACKS* calls) noexcept {
        return calls && (calls->BeginCopyBitmapDataCallback || calls->EndCopyBitmapDataCallback);
    };
    const BITMAPDATACALLBACKS* const own = data_callbacks(from);
    const BITMAPDATACALLBACKS* const other = data_callbacks(to);
    return has(own) ? own : has(other) ? other : nullptr;
}

int check_copy(const BITMAPHANDLE& to, const BITMAPHANDLE& from) noexcept
{
    if (to.Width != from.Width || to.Height != from.Height)
        return V_ERROR_INVALID_WIDTH_HEIGHT;
    if (to.BitsPerPixel != from.BitsPerPixel)
        return V_ERROR_INVALID_BITS_PER_PIXEL;
    if (to.BytesPerLine != from.BytesPerLine)
        return V_ERROR_INVALID_WIDTH_HEIGHT;
    const int32_t a = to.ViewPerspective;
    const int32_t b = from.ViewPerspective;
    const bool is_reversed = (a == TOP_LEFT && b == BOTTOM_LEFT) || (a == BOTTOM_LEFT && b == TOP_LEFT);
    if (a != b && !is_reversed)
        return V_ERROR_INVALID_PARAMETER;
    const int result = check_rows(from);
    return result == V_SUCCESS ? check_rows(to) : result;
}

} // namespace

int copy_rows(BITMAPHANDLE& from, BITMAPHANDLE& to, bool reversed, Progress& progress) noexcept
{
    RowReader reader(from);
    RowWriter writer(to);
    const int32_t height = from.Height;
    const bool is_direct = reader.in_place() && writer.in_place() && !reversed;
    const int32_t batch = is_direct ? reported_rows(height) : buffered_rows(from, to);
    int result = writer.in_place() && !reversed ? V_SUCCESS : reader.reserve(batch);
    for (int32_t row = 0; row < height && result == V_SUCCESS;) {
        const int32_t rows = std::min(batch, height - row);
        result = move_rows(reader, writer, from, to, row, rows, reversed);
        row += rows;
        if (result == V_SUCCESS)
            result = progress.update(row);
    }
    return result;
}

int copy_bitmap_data(BITMAPHANDLE& to, BITMAPHANDLE& from, const ProgressShare& share) noexcept
{
    constexpr int kDoneByCallback = 2;
    int result = check_copy(to, from);
    if (result != V_SUCCESS)
        return result;
    const BITMAPDATACALLBACKS* const found = copy_callbacks(to, from);
    if (!found)
        return copy_with_access(to, from, share);
    const BITMAPDATACALLBACKS calls = *found; // a callback may exchange the table
    if (calls.BeginCopyBitmapDataCallback) {
        result = calls.BeginCopyBitmapDataCallback(&to, &from, calls.UserData);
        if (result != V_SUCCESS)
            return result == kDoneByCallback ? V_SUCCESS : result;
    }
    result = copy_with_access(to, from, share);
    if (!calls.EndCopyBitmapDataCallback)
        return result;
    const int ended = calls.EndCopyBitmapDataCallback(&to, &from, calls.UserData);
    return result == V_SUCCESS && ended != kDoneByCallback ? ended : result;
}

int copy_bitmap(BITMAPHANDLE& to, BITMAPHANDLE& from, uint32_t struct_size, const ProgressShare& share) noexcept
{
    return copy_bitmap(to, from, struct_size, copy_flags(from), share);
}

int copy_bitmap(BITMAPHANDLE& to, BITMAPHANDLE& from, uint32_t struct_size, uint32_t dup_flags,
                const ProgressShare& share) noexcept
{
    const int checked = check_rows(from);
    Shape shape = shape_of(from);
    shape.pixels = copy_callbacks(from, from) ? NewPixels::clear : pixels_of_shown_record();
    int result = checked == V_SUCCESS ? make_like(to, from, struct_size, shape, dup_flags) : checked;
    if (result == V_SUCCESS) {
        const Operation own(to, Operation::Scratch::own);
        result = copy_bitmap_data(to, from, share);
        if (result != V_SUCCESS)
            free_bitmap(to);
    }
    if (result != V_SUCCESS)
        clear_record(to, struct_size);
    return result;
}

} // namespace vk
