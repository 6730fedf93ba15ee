// Which pixels of rows may be written: those in the bitmap's region, or all where there is none of this library's.
#pragma once

#include "Vkrecord.h"
#include "kernel/area/Block.h"

#include <algorithm>
#include <cstdint>

namespace vk {

/// The bitmap has a region of ours.
inline bool has_area(const BITMAPHANDLE& bitmap) noexcept
{
    return is_area_block(bitmap.RgnInfo);
}

/// That region, which stands in the record's block. Records are the caller's: it may be larger than the picture.
inline Area area_of(const BITMAPHANDLE& bitmap) noexcept
{
    return area_of_block(bitmap.RgnInfo);
}

class RegionRows {
public:
    explicit RegionRows(const BITMAPHANDLE& bitmap) noexcept : has_area_(has_area(bitmap))
    {
        if (has_area_)
            area_ = area_of(bitmap);
    }

    /// Every pixel may.
    bool is_whole() const noexcept { return !has_area_; }

    /// Calls `visit(first, end)` for each run of a row that may be written, from the left, cut to columns first to
    /// end - 1.
    template <class Visit> void each(int32_t row, int32_t first, int32_t end, Visit&& visit) const noexcept
    {
        if (first >= end)
            return;
        if (!has_area_) {
            visit(first, end);
            return;
        }
        for (const AreaRun& run : area_.row(row, first, end))
            visit(std::max(run.first, first), std::min(run.end, end));
    }

private:
    bool has_area_;
    Area area_;
};

} // namespace vk
