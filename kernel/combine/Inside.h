// The one rule for "inside the region": which pixels of a row an operation may write. Everything that writes pixels
// into a bitmap that exists asks here, row by row, or keeps RegionRows for all of them, and leaves other pixels alone.
#pragma once

#include "kernel/bitmap/Region.h"

#include <cstdint>

namespace vk::combine {

/// Calls `take(first, end)` for every run of columns within [first, end) of a row that may be written, from left to
/// right.
template <class Take>
void inside_runs(const BITMAPHANDLE& bitmap, int32_t row, int32_t first, int32_t end, Take&& take) noexcept
{
    RegionRows(bitmap).each(row, first, end, take);
}

} // namespace vk::combine
