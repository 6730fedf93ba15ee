#include "kernel/yuv/YuvBitmap.h"

#include "Vkbitmap.h"
#include "kernel/bitmap/Alloc.h"
#include "kernel/bitmap/Create.h"
#include "kernel/bitmap/Duplicate.h"
#include "kernel/bitmap/Record.h"
#include "kernel/colorres/ColorRows.h"
#include "kernel/format/RowMath.h"
#include "kernel/rows/Locks.h"
#include "kernel/rows/RowAccess.h"
#include "kernel/system/Checks.h"
#include "kernel/system/Progress.h"
#include "kernel/system/ThreadState.h"
#include "kernel/view/ViewPerspective.h"
#include "kernel/yuv/FromYuv.h"
#include "kernel/yuv/ToYuv.h"
#include "simd/Simd.h"

namespace vk::yuv {

namespace {

/// Bytes of a bitmap from which writing past the caches pays.
constexpr uint64_t kStreamFrom = uint64_t{8} << 20;

/// Calls `each(row)` for all rows, with progress.
template <class Each> int each_row(int32_t height, Progress& progress, Each each) noexcept
{
    int result = progress.begin();
    for (int32_t row = 0; row < height && result == V_SUCCESS; ++row) {
        result = each(row);
        if (result == V_SUCCESS)
            result = progress.update(int64_t{row} + 1);
    }
    return result;
}

template <class Rows, class Write> int write_rows(BITMAPHANDLE& bitmap, Rows& rows, Write write) noexcept
{
    if (!rows.open())
        return V_ERROR_NO_MEMORY;
    RowWriter writer(bitmap);
    const int result = writer.reserve(1);
    if (result != V_SUCCESS)
        return result;
    const bool streams = writer.in_place() && plain_size(bitmap) >= kStreamFrom;
    Progress progress(bitmap.Height);
    const int done = each_row(bitmap.Height, progress, [&](int32_t row) noexcept {
        write(static_cast<uint32_t>(row), writer.place(row), streams);
        return writer.write(row, 1);
    });
    if (streams)
        simd::fence();
    return done;
}

int fill_bitmap(BITMAPHANDLE& bitmap, const Picture& picture) noexcept
{
    BitmapAccess access(bitmap);
    int result = access.result();
    if (result == V_SUCCESS && picture.format->deep()) {
        WordRows rows(picture);
        result = write_rows(bitmap, rows, [&](uint32_t row, uint8_t* to, bool) noexcept { rows.write(row, to); });
    } else if (result == V_SUCCESS) {
        ByteRows rows(picture);
        result = write_rows(bitmap, rows,
                            [&](uint32_t row, uint8_t* to, bool streams) noexcept { rows.write(row, to, streams); });
    }
    return first_failure(result, access.release());
}

/// Rows of a bitmap as the colours that a picture is made from.
class ColorSource {
public:
    ColorSource(BITMAPHANDLE& bitmap, int32_t bits) noexcept : bitmap_(bitmap), reader_(bitmap)
    {
        target_.bits = bits;
        target_.order = COLORORDER_BGR;
        converts_ = bitmap.BitsPerPixel != bits || bitmap.Order != COLORORDER_BGR;
    }

    int open() noexcept
    {
        int result = reader_.reserve(1);
        if (result == V_SUCCESS && converts_)
            result = colors_.open(bitmap_, target_);
        const uint64_t line = packed_bytes(static_cast<uint32_t>(bitmap_.Width), target_.bits);
        if (result == V_SUCCESS && converts_ && !row_.allocate(line + 64))
            result = V_ERROR_NO_MEMORY;
        return result;
    }

    /// Rows are good until the bitmap is released.
    bool stays() const noexcept { return reader_.in_place() && !converts_; }

    /// Points at a row, counted from the top one as shown.
    int read(int32_t row, const uint8_t** colors) noexcept
    {
        const int32_t stored = bitmap_.ViewPerspective == BOTTOM_LEFT ? bitmap_.Height - 1 - row : row;
        const int result = reader_.read(stored, 1, colors);
        if (result != V_SUCCESS || !converts_)
            return result;
        const uint8_t* const from = *colors;
        *colors = row_.data();
        return colors_.run({from, bitmap_.BytesPerLine}, {row_.data(), 0}, 1);
    }

private:
    BITMAPHANDLE& bitmap_;
    RowReader reader_;
    ColorTarget target_;
    ColorRows colors_;
    RowBuffer row_;
    bool converts_ = false;
};

template <class Rows> int read_rows(BITMAPHANDLE& bitmap, Rows& rows, int32_t bits, const ProgressShare& share) noexcept
{
    if (!rows.open())
        return V_ERROR_NO_MEMORY;
    ColorSource source(bitmap, bits);
    Progress progress(bitmap.Height, share);
    const int result = source.open();
    if (result != V_SUCCESS)
        return result;
    const int done = each_row(bitmap.Height, progress, [&](int32_t row) noexcept {
        const uint8_t* colors = nullptr;
        const int read = source.read(row, &colors);
        if (read == V_SUCCESS)
            rows.put(colors, source.stays());
        return read;
    });
    if (rows.streams())
        simd::fence();
    return done;
}

int write_upright(BITMAPHANDLE& bitmap, const Picture& picture, const ProgressShare& share) noexcept
{
    const int32_t bits = source_bits(*picture.format);
    BitmapAccess access(bitmap);
    int result = access.result();
    if (result == V_SUCCESS && picture.format->deep()) {
        WordRowsOut rows(picture);
        result = read_rows(bitmap, rows, bits, share);
    } else if (result == V_SUCCESS) {
        ByteRowsOut rows(picture);
        result = read_rows(bitmap, rows, bits, share);
    }
    return first_failure(result, access.release());
}

bool is_upright(const BITMAPHANDLE& bitmap) noexcept
{
    return bitmap.ViewPerspective == TOP_LEFT || bitmap.ViewPerspective == BOTTOM_LEFT;
}

} // namespace

int make_bitmap(BITMAPHANDLE& bitmap, uint32_t struct_size, const Picture& picture) noexcept
{
    const int32_t bits = picture.format->bitmap_bits;
    Creation creation{};
    creation.memory = thread_state().default_memory_type;
    creation.width = static_cast<int32_t>(picture.width);
    creation.height = static_cast<int32_t>(picture.height);
    creation.bits = bits;
    creation.order = picture.format->has_chroma() ? COLORORDER_BGR : COLORORDER_GRAY;
    creation.perspective = TOP_LEFT;
    creation.pixels = pixels_of_shown_record();
    int result = create_bitmap(bitmap, struct_size, creation);
    if (result != V_SUCCESS)
        return result;
    result = check_rows(bitmap);
    if (result == V_SUCCESS)
        result = fill_bitmap(bitmap, picture);
    if (result == V_SUCCESS)
        return result;
    free_bitmap(bitmap);
    clear_record(bitmap, struct_size);
    return result;
}

int make_picture(BITMAPHANDLE& bitmap, const Picture& picture) noexcept
{
    if (is_upright(bitmap))
        return write_upright(bitmap, picture, {});
    const Operation operation(bitmap); // turning it upright is part of this
    BITMAPHANDLE upright;
    constexpr uint32_t kParts = DUPFLAG_PALETTE | DUPFLAG_GRAYTABLES | DUPFLAG_ANIMATION;
    int result = copy_in_view_perspective(upright, bitmap, kRecordSize, TOP_LEFT, kParts, ProgressShare{}.pass(0, 2));
    if (result != V_SUCCESS)
        return result;
    result = write_upright(upright, picture, ProgressShare{}.pass(1, 2));
    free_bitmap(upright);
    return result;
}

} // namespace vk::yuv
