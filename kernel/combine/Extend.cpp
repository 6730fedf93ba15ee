// Pixels added around a bitmap. Where a new row or column has no pixel of its own, the picture is continued: a place
// counted from the picture's first pixel is led back to one inside.
#include "Vkbitmap.h"
#include "Vkcombine.h"
#include "kernel/bitmap/OverlayCopies.h"
#include "kernel/bitmap/Region.h"
#include "kernel/bitmap/Staged.h"
#include "kernel/combine/Bits.h"
#include "kernel/combine/Crop.h"
#include "kernel/combine/FillColor.h"
#include "kernel/format/RowMath.h"
#include "kernel/resize/Access.h"
#include "kernel/rows/RowAccess.h"

namespace vk::combine {

namespace {

/// The place inside [0, size) that continues the picture at `place`; -1 where the fill colour does.
int32_t inside_place(int64_t place, int32_t size, uint32_t kind) noexcept
{
    if (place >= 0 && place < size)
        return static_cast<int32_t>(place);
    if (kind == EXTEND_FILL)
        return -1;
    if (kind == EXTEND_EDGE)
        return place < 0 ? 0 : size - 1;
    const int64_t period = kind == EXTEND_MIRROR ? 2 * int64_t{size} : size;
    const int64_t phase = (place % period + period) % period;
    return static_cast<int32_t>(phase < size ? phase : period - 1 - phase);
}

/// Makes rows of the extended bitmap from those of the source.
class Extension {
public:
    Extension(BITMAPHANDLE& from, BITMAPHANDLE& to, const Margins& margins) noexcept
        : from_(from), to_(to), margins_(margins), bits_(static_cast<uint32_t>(from.BitsPerPixel)),
          order_(bit_order(from.BitsPerPixel)), reader_(from), writer_(to)
    {}

    int run(Progress& progress) noexcept
    {
        int result = reader_.reserve(1);
        if (result == V_SUCCESS)
            result = writer_.reserve(1);
        if (result == V_SUCCESS && !fill_row_.allocate(to_.BytesPerLine))
            result = V_ERROR_NO_MEMORY;
        if (result == V_SUCCESS)
            make_fill_row();
        for (int32_t row = 0; row < to_.Height && result == V_SUCCESS; ++row) {
            result = make_row(row);
            if (result == V_SUCCESS)
                result = progress.update(row + 1);
        }
        return result;
    }

private:
    void copy(uint8_t* to, int32_t to_column, const uint8_t* from, int32_t from_column, int32_t count) const noexcept
    {
        copy_bits(to, uint64_t{bits_} * static_cast<uint32_t>(to_column), from,
                  uint64_t{bits_} * static_cast<uint32_t>(from_column), uint64_t{bits_} * static_cast<uint32_t>(count),
                  order_);
    }

    void make_fill_row() noexcept
    {
        const FillColor fill = fill_color(from_, margins_.fill);
        for (int32_t column = 0; column < to_.Width; ++column)
            copy(fill_row_.data(), column, fill.packed, 0, 1);
    }

    /// One margin of a row: columns [first, first + count) of the new one.
    void continue_row(uint8_t* to, const uint8_t* from, int32_t first, int32_t count) const noexcept
    {
        if (margins_.kind == EXTEND_FILL)
            return copy(to, first, fill_row_.data(), 0, count);
        for (int32_t column = first; column < first + count; ++column) {
            const int64_t place = int64_t{column} - margins_.left;
            copy(to, column, from, inside_place(place, from_.Width, margins_.kind), 1);
        }
    }

    int make_row(int32_t row) noexcept
    {
        uint8_t* const to = writer_.place(row);
        const int32_t source_row = inside_place(int64_t{row} - margins_.top, from_.Height, margins_.kind);
        if (source_row < 0) {
            copy(to, 0, fill_row_.data(), 0, to_.Width);
            return writer_.write(row, 1);
        }
        const uint8_t* from = nullptr;
        const int result = reader_.read(source_row, 1, &from);
        if (result != V_SUCCESS)
            return result;
        continue_row(to, from, 0, margins_.left);
        copy(to, margins_.left, from, 0, from_.Width);
        continue_row(to, from, margins_.left + from_.Width, margins_.right);
        return writer_.write(row, 1);
    }

    BITMAPHANDLE& from_;
    BITMAPHANDLE& to_;
    const Margins& margins_;
    const uint32_t bits_;
    const BitOrder order_;
    RowReader reader_;
    RowWriter writer_;
    RowBuffer fill_row_;
};

int fill(BITMAPHANDLE& made, BITMAPHANDLE& source, const Margins& margins) noexcept
{
    return with_access(source, made, [&](BITMAPHANDLE& from, BITMAPHANDLE& to) noexcept {
        Progress progress(to.Height);
        const int begun = progress.begin();
        return begun == V_SUCCESS ? Extension(from, to, margins).run(progress) : begun;
    });
}

/// Clear pixels around an overlay, whatever is around its bitmap.
Margins clear_margins(const Margins& margins) noexcept
{
    constexpr COLORREF kFirstEntry = 0x01000000u;
    return {margins.left, margins.top, margins.right, margins.bottom, EXTEND_FILL, kFirstEntry};
}

} // namespace

int extend_bitmap(BITMAPHANDLE& bitmap, const Margins& margins) noexcept
{
    const int64_t width = int64_t{bitmap.Width} + margins.left + margins.right;
    const int64_t height = int64_t{bitmap.Height} + margins.top + margins.bottom;
    if (width > INT32_MAX || height > INT32_MAX)
        return V_ERROR_INVALID_WIDTH_HEIGHT;
    if (width == bitmap.Width && height == bitmap.Height)
        return V_SUCCESS;
    Staged staged(bitmap);
    OverlayCopies overlays;
    const Shape shape{static_cast<int32_t>(width), static_cast<int32_t>(height), bitmap.BitsPerPixel, bitmap.Order, 0,
                      NewPixels::to_be_written};
    BitmapAccess access(bitmap);
    int result = access.result();
    if (result == V_SUCCESS)
        result = staged.make(shape, DUPFLAG_PALETTE | DUPFLAG_ANIMATION);
    if (result == V_SUCCESS)
        result = fill(staged.record(), bitmap, margins);
    if (result == V_SUCCESS)
        result = overlays.make(bitmap, [&](BITMAPHANDLE& to, BITMAPHANDLE& from) noexcept {
            const int copied = copy_bitmap(to, from, kRecordSize);
            return copied == V_SUCCESS ? extend_bitmap(to, clear_margins(margins)) : copied;
        });
    if (result == V_SUCCESS)
        result = move_area(bitmap, staged.record(), margins.left, margins.top);
    if (result != V_SUCCESS)
        return result;
    const int released = access.release();
    result = staged.replace();
    if (result == V_SUCCESS)
        overlays.give_to(bitmap);
    return first_failure(result, released);
}

} // namespace vk::combine
