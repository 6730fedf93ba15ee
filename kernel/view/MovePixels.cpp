// Pixels from one bitmap to another in a new layout. Rows stay rows in batches. Where rows become columns, memory is
// used in place and everything else passes through two bounded buffers: target rows are made some at a time, each time
// from the pieces of all source rows that go into them.
#include "kernel/format/RowMath.h"
#include "kernel/rows/RowAccess.h"
#include "kernel/rows/RowCol.h"
#include "kernel/system/Checks.h"
#include "kernel/view/MirrorRow.h"
#include "kernel/view/Relayout.h"
#include "kernel/view/Transpose.h"

#include <algorithm>
#include <cstring>

namespace vk {

namespace {

/// Moving this much and more is worth writing past the caches.
constexpr uint64_t kStreamedBytes = 8u << 20;
/// Buffers of rows on their way to become columns.
constexpr uint64_t kTargetBytes = 24u << 20;
constexpr uint64_t kSourceBytes = 4u << 20;
/// Pixels that fill bytes, and tiles, at every depth.
constexpr int64_t kBlock = 512;

/// Rows that stay rows.
int move_rows(BITMAPHANDLE& from, BITMAPHANDLE& to, Layout layout, Progress& progress) noexcept
{
    const int32_t height = from.Height;
    const int32_t width = from.Width;
    const int32_t bits = from.BitsPerPixel;
    const int32_t batch = buffered_rows(from, to);
    const size_t from_line = from.BytesPerLine;
    const size_t to_line = to.BytesPerLine;
    const auto bytes = static_cast<size_t>(packed_bytes(static_cast<uint32_t>(width), bits));
    RowReader reader(from);
    RowWriter writer(to);
    int result = reader.reserve(batch);
    if (result == V_SUCCESS)
        result = writer.reserve(batch);
    for (int32_t row = 0; row < height && result == V_SUCCESS;) {
        const int32_t rows = std::min(batch, height - row);
        const int32_t target = layout.flip ? height - row - rows : row;
        const uint8_t* data = nullptr;
        result = reader.read(row, rows, &data);
        if (result != V_SUCCESS)
            break;
        uint8_t* const place = writer.place(target);
        for (int32_t i = 0; i < rows; ++i) {
            const uint8_t* const in = data + from_line * static_cast<uint32_t>(i);
            uint8_t* const out = place + to_line * static_cast<uint32_t>(layout.flip ? rows - 1 - i : i);
            if (layout.mirror)
                mirror_row(in, out, width, bits);
            else
                std::memcpy(out, in, bytes);
        }
        result = writer.write(target, rows);
        row += rows;
        if (result == V_SUCCESS)
            result = progress.update(row);
    }
    return result;
}

/// Makes target rows [first, first + count) from source columns, part by part.
class Transposition {
public:
    Transposition(BITMAPHANDLE& from, BITMAPHANDLE& to, Layout layout, Progress& progress) noexcept
        : from_(from), to_(to), layout_(layout), progress_(progress), bits_(from.BitsPerPixel), width_(from.Width),
          height_(from.Height), from_line_(from.BytesPerLine), to_line_(to.BytesPerLine), reader_(from), writer_(to)
    {}

    int run() noexcept
    {
        int result = plan();
        for (int32_t column = 0; column < width_ && result == V_SUCCESS;) {
            const int32_t columns = std::min(columns_, width_ - column);
            result = make_rows(column, columns);
            column += columns;
        }
        return result;
    }

private:
    uint64_t bytes_of(int64_t pixels) const noexcept { return packed_bytes(static_cast<uint64_t>(pixels), bits_); }

    /// Decides how many columns and rows go at a time, and makes the buffers. Fewer than a block of columns are taken
    /// only where the target's rows are so long that a block of them is too much.
    int plan() noexcept
    {
        columns_ = width_;
        if (!writer_.in_place()) {
            const auto rows = static_cast<int64_t>(kTargetBytes / to_line_);
            const int64_t whole = rows >= kBlock ? rows / kBlock * kBlock : std::max<int64_t>(rows / 8 * 8, 8);
            columns_ = static_cast<int32_t>(std::min<int64_t>(whole, width_));
        }
        piece_ = columns_ == width_ ? from_line_ : static_cast<size_t>(bytes_of(columns_));
        int64_t rows = reported_rows(height_);
        if (!reader_.in_place())
            rows = std::min(rows, static_cast<int64_t>(kSourceBytes / piece_));
        rows = std::max(rows / kBlock * kBlock, std::min<int64_t>(kBlock, height_));
        if (!reader_.in_place() && static_cast<uint64_t>(rows) * piece_ > 2 * kSourceBytes)
            rows = std::max<int64_t>(static_cast<int64_t>(2 * kSourceBytes / piece_) / 8 * 8, 8);
        rows_ = static_cast<int32_t>(std::min<int64_t>(rows, height_));
        const int result =
            reader_.in_place() ? V_SUCCESS : source_.allocate_for(from_, piece_ * static_cast<uint32_t>(rows_));
        return result == V_SUCCESS ? writer_.reserve(columns_) : result;
    }

    /// Target rows from `columns` columns, all their pixels.
    int make_rows(int32_t column, int32_t columns) noexcept
    {
        const int32_t first = layout_.mirror ? width_ - column - columns : column;
        int result = V_SUCCESS;
        for (int32_t pixel = 0; pixel < height_ && result == V_SUCCESS;) {
            const int32_t rows = std::min(rows_, height_ - pixel);
            const int32_t row = layout_.flip ? height_ - pixel - rows : pixel;
            const uint8_t* data = nullptr;
            size_t stride = 0;
            result = read(row, rows, column, columns, &data, &stride);
            if (result != V_SUCCESS)
                break;
            turn_block(data, stride, writer_.place(first), pixel, columns, rows);
            done_ += int64_t{columns} * rows;
            pixel += rows;
            result = progress_.update(static_cast<int64_t>(static_cast<double>(done_) / width_));
        }
        return result == V_SUCCESS ? writer_.write(first, columns) : result;
    }

    /// Points at the pixels of a part of the source.
    int read(int32_t row, int32_t rows, int32_t column, int32_t columns, const uint8_t** data, size_t* stride) noexcept
    {
        *stride = from_line_;
        if (reader_.in_place()) {
            const int result = reader_.read(row, rows, data);
            *data += bytes_of(column);
            return result;
        }
        *data = source_.data();
        if (columns == width_)
            return get_rows(from_, source_.data(), row, rows);
        *stride = piece_;
        const auto bytes = static_cast<size_t>(bytes_of(columns));
        int result = V_SUCCESS;
        for (int32_t i = 0; i < rows && result == V_SUCCESS; ++i)
            result =
                code_of(get_row_col(from_, source_.data() + piece_ * static_cast<uint32_t>(i), row + i, column, bytes));
        return result;
    }

    /// Transposes a part: pixels from `pixel` on of `columns` target rows, of which `place` is the first stored one.
    void turn_block(const uint8_t* data, size_t stride, uint8_t* place, int32_t pixel, int32_t columns,
                    int32_t rows) const noexcept
    {
        TransposeBlock block{};
        const auto from_step = static_cast<ptrdiff_t>(stride);
        const auto to_step = static_cast<ptrdiff_t>(to_line_);
        block.from = layout_.flip ? data + from_step * (rows - 1) : data;
        block.from_stride = layout_.flip ? -from_step : from_step;
        uint8_t* const to = place + bytes_of(pixel);
        block.to = layout_.mirror ? to + to_step * (columns - 1) : to;
        block.to_stride = layout_.mirror ? -to_step : to_step;
        block.columns = columns;
        block.rows = rows;
        transpose(block, bits_, writer_.in_place() && plain_size(to_) >= kStreamedBytes);
    }

    BITMAPHANDLE& from_;
    BITMAPHANDLE& to_;
    const Layout layout_;
    Progress& progress_;
    const int32_t bits_;
    const int32_t width_;
    const int32_t height_;
    const size_t from_line_;
    const size_t to_line_;
    RowReader reader_;
    RowWriter writer_;
    RowBuffer source_;
    size_t piece_ = 0;    ///< bytes of a source row that are read at a time
    int32_t columns_ = 0; ///< source columns, and target rows, at a time
    int32_t rows_ = 0;    ///< source rows at a time
    int64_t done_ = 0;    ///< pixels
};

} // namespace

int move_pixels(BITMAPHANDLE& from, BITMAPHANDLE& to, Layout layout, Progress& progress) noexcept
{
    return layout.transpose ? Transposition(from, to, layout, progress).run() : move_rows(from, to, layout, progress);
}

} // namespace vk
