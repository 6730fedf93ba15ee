// Nearest resizing of whole bitmaps, and the choice among the ways to resize. A source row is read once and resized
// once, however many destination rows take it.
#include "kernel/resize/Resize.h"

#include "Vkresize.h"
#include "kernel/colorres/GrayScale.h"
#include "kernel/colorres/SameRange.h"
#include "kernel/format/RowMath.h"
#include "kernel/resample/Resample.h"
#include "kernel/resize/Access.h"
#include "kernel/resize/FavorBlack.h"
#include "kernel/resize/Nearest.h"
#include "kernel/resize/Stepping.h"
#include "kernel/rows/RowAccess.h"
#include "kernel/system/Checks.h"
#include "kernel/system/Progress.h"
#include "simd/Simd.h"

#include <algorithm>
#include <cstring>

namespace vk {

namespace {

/// Bytes of a destination from which storing past the caches pays.
constexpr uint64_t kStreamFrom = uint64_t{16} << 20;

/// Bytes of rows that are gathered before they go past the caches: few enough for the first cache, and so many that the
/// lines which rows share with their neighbours hardly count.
constexpr size_t kGathered = size_t{16} << 10;

/// Writes the rows of a destination, in stored or in reverse order.
class NearestRows {
public:
    NearestRows(BITMAPHANDLE& from, BITMAPHANDLE& to) noexcept
        : reader_(from), writer_(to), source_line_(from.BytesPerLine), line_(to.BytesPerLine), height_(to.Height),
          is_reversed_(from.ViewPerspective != to.ViewPerspective),
          is_streamed_(writer_.in_place() && plain_size(to) >= kStreamFrom)
    {}
    NearestRows(const NearestRows&) = delete;
    NearestRows& operator=(const NearestRows&) = delete;
    ~NearestRows()
    {
        flush();
        if (is_streamed_)
            simd::fence();
    }

    int prepare(int32_t bits, int32_t from, int32_t to) noexcept
    {
        int result = reader_.reserve(1);
        if (result == V_SUCCESS)
            result = writer_.reserve(1);
        if (result == V_SUCCESS && is_streamed_) {
            room_ = std::max(static_cast<int32_t>(kGathered / line_), 1);
            result = buffer_.allocate(uint64_t{line_} * static_cast<uint32_t>(room_)) ? V_SUCCESS : V_ERROR_NO_MEMORY;
        }
        return result == V_SUCCESS ? resize::plan_nearest(plan_, bits, from, to) : result;
    }

    /// The source row that goes to destination row `row` and perhaps those behind it; `next_row` is the one after it.
    int first(int32_t source_row, int32_t row, int64_t next_row) noexcept
    {
        const uint8_t* data = nullptr;
        const int result = reader_.read(source_row, 1, &data);
        if (result != V_SUCCESS)
            return result;
        made_ = place(row);
        const size_t bytes = plan_.row_bytes();
        const int64_t ahead = reader_.in_place() ? (next_row - source_row) * static_cast<int64_t>(source_line_) : 0;
        resize::run_nearest(plan_, data, made_, static_cast<ptrdiff_t>(ahead));
        std::memset(made_ + bytes, 0, line_ - bytes);
        return writer_.write(stored(row), 1);
    }

    /// The same once more.
    int again(int32_t row) noexcept
    {
        if (is_streamed_ || writer_.in_place())
            copy_to(place(row));
        return writer_.write(stored(row), 1);
    }

private:
    int32_t stored(int32_t row) const noexcept { return is_reversed_ ? height_ - 1 - row : row; }

    void copy_to(uint8_t* to) noexcept
    {
        if (to != made_) // as it is where one row is gathered at a time
            std::memcpy(to, made_, line_);
        made_ = to;
    }

    /// Memory for a row. What is gathered lies in stored order, and goes to its place when there is no more room.
    uint8_t* place(int32_t row) noexcept
    {
        if (!is_streamed_)
            return writer_.place(stored(row));
        if (gathered_ == room_)
            flush();
        if (gathered_ == 0)
            first_gathered_ = row;
        const int32_t slot = is_reversed_ ? room_ - 1 - gathered_ : gathered_;
        ++gathered_;
        return buffer_.data() + line_ * static_cast<uint32_t>(slot);
    }

    void flush() noexcept
    {
        if (gathered_ == 0)
            return;
        const int32_t skipped = is_reversed_ ? room_ - gathered_ : 0;
        const int32_t row = is_reversed_ ? first_gathered_ + gathered_ - 1 : first_gathered_;
        resize::stream_rows(buffer_.data() + line_ * static_cast<uint32_t>(skipped), writer_.place(stored(row)),
                            line_ * static_cast<uint32_t>(gathered_));
        gathered_ = 0;
    }

    RowReader reader_;
    RowWriter writer_;
    RowBuffer buffer_;
    resize::NearestPlan plan_;
    uint8_t* made_ = nullptr;
    size_t source_line_;
    size_t line_;
    int32_t height_;
    int32_t room_ = 0;           ///< rows that are gathered at most
    int32_t gathered_ = 0;       ///< and now
    int32_t first_gathered_ = 0; ///< where they begin
    bool is_reversed_;
    bool is_streamed_;
};

int fill_nearest(BITMAPHANDLE& from, BITMAPHANDLE& to, const ProgressShare& share) noexcept
{
    const int32_t height = to.Height;
    NearestRows rows(from, to);
    Progress progress(height, share);
    int result = rows.prepare(from.BitsPerPixel, from.Width, to.Width);
    if (result == V_SUCCESS)
        result = progress.begin();
    resize::Walk walk(from.Height, height);
    resize::Walk following(from.Height, height, 1);
    int64_t fetched = -1;
    for (int32_t row = 0; row < height && result == V_SUCCESS; ++row, walk.next(), following.next()) {
        const int64_t wanted = walk.source();
        const int64_t next = row + 1 == height ? wanted : std::max<int64_t>(following.source(), wanted + 1);
        result = wanted != fetched ? rows.first(static_cast<int32_t>(wanted), row, next) : rows.again(row);
        fetched = wanted;
        if (result == V_SUCCESS)
            result = progress.update(row + 1);
    }
    return result;
}

int resize_nearest(BITMAPHANDLE& from, BITMAPHANDLE& to, const ProgressShare& share) noexcept
{
    if (&from == &to)
        return V_SUCCESS;
    const auto fill = [share](BITMAPHANDLE& given, BITMAPHANDLE& target) noexcept {
        ProgressShare left = share;
        SameRange source(given);
        const int result = source.make(target, left);
        return result == V_SUCCESS ? fill_nearest(source.record(), target, left) : result;
    };
    return with_access(from, to, fill);
}

bool is_gray8(const BITMAPHANDLE& bitmap) noexcept
{
    return bitmap.BitsPerPixel == 8 && gray_kind(bitmap) == GrayKind::ramp;
}

} // namespace

int check_resize(const BITMAPHANDLE* from, const BITMAPHANDLE* to) noexcept
{
    int result = check_allocated(from);
    if (result == V_SUCCESS)
        result = check_allocated(to);
    if (result == V_SUCCESS)
        result = check_rows(*from);
    return result == V_SUCCESS ? check_rows(*to) : result;
}

int resize_into(BITMAPHANDLE& from, BITMAPHANDLE& to, uint32_t flags, const ProgressShare& share) noexcept
{
    if (from.BitsPerPixel != to.BitsPerPixel)
        return from.BitsPerPixel == 1 && is_gray8(to) ? resample_into(from, to, Filter::area, share)
                                                      : V_ERROR_INVALID_BITS_PER_PIXEL;
    if (flags & SIZEFLAG_FAVORBLACK && from.BitsPerPixel == 1)
        return favor_black(from, to, share);
    if (flags & SIZEFLAG_ALTRESAMPLE)
        return resample_into(from, to, Filter::alternative, share);
    if (flags & SIZEFLAG_RESAMPLE)
        return resample_into(from, to, Filter::area, share);
    if (flags & SIZEFLAG_BICUBIC) {
        const bool grows = to.Width > from.Width || to.Height > from.Height;
        return resample_into(from, to, grows ? Filter::bicubic : Filter::area, share);
    }
    return resize_nearest(from, to, share);
}

} // namespace vk
