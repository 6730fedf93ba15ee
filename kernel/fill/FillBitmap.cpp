// Filling with a colour, with a pattern, and what is connected.
#include "kernel/fill/FillBitmap.h"

#include "kernel/combine/LogicRun.h"
#include "kernel/combine/Streaming.h"
#include "kernel/fill/ChangePixels.h"
#include "kernel/fill/FillRun.h"
#include "kernel/fill/Flood.h"
#include "kernel/fill/PatternRun.h"
#include "kernel/resize/Access.h"

#include <algorithm>
#include <bit>

namespace vk::fill {

namespace {

/// Enough is written, to rows in memory, that it pays to pass the caches by.
bool is_large(BITMAPHANDLE& bitmap, const Area& area) noexcept
{
    return combine::area_bytes(area, bitmap.BitsPerPixel) >= combine::kStreamFrom && RowWriter(bitmap).in_place();
}

/// One colour for the pixels that a flood has reached.
class FloodRun final : public combine::RunOperation {
public:
    FloodRun(Flood& flood, const BITMAPHANDLE& bitmap, COLORREF color) noexcept
        : flood_(flood), fill_(bitmap, color, false), is_one_bit_(bitmap.BitsPerPixel == 1)
    {}

    int begin_row(int32_t row, int32_t left) noexcept override
    {
        left_ = left;
        return flood_.reached(row, &words_);
    }

    void run(Line to, Line, Line, int32_t count) noexcept override
    {
        const int32_t end = left_ + to.column + count;
        if (is_one_bit_) // whose rows and lines both begin with whole bytes
            return fill_.run_chosen(to, reinterpret_cast<const uint8_t*>(words_) + left_ / 8, count);
        for (int32_t column = next(left_ + to.column, end, 0); column < end;) {
            const int32_t behind = next(column, end, ~uint64_t{0});
            fill_.run({to.data, column - left_}, behind - column);
            column = next(behind, end, 0);
        }
    }

private:
    /// The first column from `column` on whose bit differs from those of `same`; or `end`.
    int32_t next(int32_t column, int32_t end, uint64_t same) const noexcept
    {
        while (column < end) {
            const uint64_t others = (words_[column / 64] ^ same) >> column % 64;
            if (others)
                return std::min(column + std::countr_zero(others), end);
            column += 64 - column % 64;
        }
        return end;
    }

    Flood& flood_;
    FillRun fill_;
    const bool is_one_bit_;
    const uint64_t* words_ = nullptr;
    int32_t left_ = 0;
};

/// Pixels like the one that a flood begins with.
int open_like_start(BITMAPHANDLE& bitmap, const FloodRequest& request, combine::Alike& alike) noexcept
{
    RowReader reader(bitmap);
    const uint8_t* row = nullptr;
    int result = reader.reserve(1);
    if (result == V_SUCCESS)
        result = reader.read(request.start.row, 1, &row);
    if (result != V_SUCCESS)
        return result;
    const auto bits = static_cast<uint32_t>(bitmap.BitsPerPixel);
    uint8_t pixel[8] = {};
    combine::copy_bits(pixel, 0, row, uint64_t{bits} * static_cast<uint32_t>(request.start.column), bits,
                       combine::bit_order(bitmap.BitsPerPixel));
    alike.open(bitmap, pixel, request.tolerance);
    return V_SUCCESS;
}

int flood_accessed(BITMAPHANDLE& bitmap, const FloodRequest& request) noexcept
{
    const bool has_border = request.flags & FLOOD_BORDER;
    combine::Alike alike;
    Flood flood(bitmap, alike, has_border, request.flags & FLOOD_EIGHT);
    Progress begun(1);
    int result = begun.begin();
    if (has_border)
        alike.open(bitmap, request.border, request.tolerance);
    else if (result == V_SUCCESS)
        result = open_like_start(bitmap, request, alike);
    if (result == V_SUCCESS)
        result = flood.run(request.start.column, request.start.row);
    if (result != V_SUCCESS)
        return result;
    const Area box = flood.box();
    if (box.empty())
        return begun.update(1);
    FloodRun run(flood, bitmap, request.color);
    Progress progress(box.height(), ProgressShare{0, 100, true});
    result = progress.begin(); // it has been reported
    return result == V_SUCCESS ? walk(bitmap, box, {}, {}, run, progress, combine::OnFailure::put_back) : result;
}

} // namespace

int fill_area(BITMAPHANDLE& bitmap, const Area& area, COLORREF color) noexcept
{
    return change_pixels(bitmap, area, [&](Progress& progress) noexcept {
        FillRun run(bitmap, color, is_large(bitmap, area));
        return walk(bitmap, area, {}, {}, run, progress, combine::OnFailure::put_back);
    });
}

int fill_pattern(BITMAPHANDLE& bitmap, BITMAPHANDLE& pattern, Corner origin) noexcept
{
    const Area area = combine::whole_area(bitmap);
    if (area.empty() || combine::whole_area(pattern).empty())
        return V_SUCCESS;
    return with_access(pattern, bitmap, [&](BITMAPHANDLE& from, BITMAPHANDLE& to) noexcept {
        Progress progress(area.height());
        PatternRun run(origin);
        int result = progress.begin();
        if (result == V_SUCCESS)
            result = run.open(to, from);
        return result == V_SUCCESS ? walk(to, area, {}, {}, run, progress, combine::OnFailure::put_back) : result;
    });
}

int flood_bitmap(BITMAPHANDLE& bitmap, const FloodRequest& request) noexcept
{
    BitmapAccess access(bitmap);
    int result = access.result();
    if (result == V_SUCCESS)
        result = flood_accessed(bitmap, request);
    return first_failure(result, access.release());
}

} // namespace vk::fill
