#include "kernel/combine/AreaRows.h"

#include "kernel/format/RowMath.h"
#include "kernel/rows/RowCol.h"
#include "kernel/storage/Storage.h"

#include <algorithm>

namespace vk::combine {

namespace {

constexpr uint64_t kBufferBytes = 256 * 1024;

/// How the rows of an area lie in a buffer.
struct Shape {
    int32_t left;
    size_t stride;
    bool whole;
};

/// Rows that are stored as a whole are made anew in any case.
Shape shape_in_buffer(const BITMAPHANDLE& bitmap, const Area& area) noexcept
{
    const int32_t left = area.left / 8 * 8;
    const auto pixels = static_cast<uint32_t>(area.right - left);
    const auto bytes = static_cast<size_t>(packed_bytes(pixels, bitmap.BitsPerPixel));
    const size_t line = bitmap.BytesPerLine;
    if (2 * bytes >= line || has_whole_rows(bitmap))
        return {0, line, true};
    return {left, bytes, false};
}

/// Row 0 of a bitmap that may be used where it stands; null where rows must be moved.
uint8_t* memory_of(BITMAPHANDLE& bitmap, AreaRows::Use use) noexcept
{
    RowReader reader(bitmap);
    const RowWriter writer(bitmap);
    if (!reader.in_place() || (use == AreaRows::Use::change && !writer.in_place()))
        return nullptr;
    const uint8_t* rows = nullptr;
    reader.read(0, 0, &rows);
    return const_cast<uint8_t*>(rows); // handed out to be changed only where a writer may
}

} // namespace

int32_t batch_rows(const BITMAPHANDLE& bitmap, const Area& area, bool in_memory) noexcept
{
    const int32_t most = reported_rows(area.height());
    if (in_memory)
        return most;
    const uint64_t fit = kBufferBytes / std::max<size_t>(shape_in_buffer(bitmap, area).stride, 1);
    return static_cast<int32_t>(std::clamp<uint64_t>(fit, 1, static_cast<uint32_t>(most)));
}

AreaRows::AreaRows(BITMAPHANDLE& bitmap, const Area& area, Use use) noexcept
    : bitmap_(bitmap), memory_(memory_of(bitmap, use))
{
    const Shape shape = shape_in_buffer(bitmap, area);
    held_ = {nullptr, shape.stride, shape.left};
    bytes_ = shape.whole ? 0 : shape.stride;
}

int AreaRows::reserve(int32_t count) noexcept
{
    if (in_place())
        return V_SUCCESS;
    const int result = buffer_.allocate_for(bitmap_, uint64_t{held_.stride} * static_cast<uint32_t>(count));
    held_.data = buffer_.data();
    return result;
}

template <class Move> int AreaRows::each_row(int32_t row, int32_t count, Move move) noexcept
{
    int result = V_SUCCESS;
    for (int32_t i = 0; i < count && result == V_SUCCESS; ++i)
        result = code_of(move(held_.row(i), row + i, bytes_));
    return result;
}

int AreaRows::load(int32_t row, int32_t count, Rows& rows) noexcept
{
    rows = held_;
    if (in_place()) {
        const size_t line = bitmap_.BytesPerLine;
        rows = {memory_ + line * static_cast<uint32_t>(row), line, 0};
        return V_SUCCESS;
    }
    if (bytes_ == 0)
        return get_rows(bitmap_, held_.data, row, count);
    return each_row(row, count, [this](uint8_t* data, int32_t index, size_t bytes) noexcept {
        return get_row_col(bitmap_, data, index, held_.left, bytes);
    });
}

int AreaRows::store(int32_t row, int32_t count) noexcept
{
    if (in_place())
        return V_SUCCESS;
    if (bytes_ == 0)
        return put_rows(bitmap_, held_.data, row, count);
    return each_row(row, count, [this](const uint8_t* data, int32_t index, size_t bytes) noexcept {
        return put_row_col(bitmap_, data, index, held_.left, bytes);
    });
}

} // namespace vk::combine
