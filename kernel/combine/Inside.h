// The one rule for "inside the region": which pixels of a row an operation may write. Everything that writes pixels
// into a bitmap that exists asks here, row by row, and leaves all other pixels alone.
#pragma once

#include "Vkrecord.h"

#include <cstdint>

namespace vk::combine {

/// Calls `take(first, end)` for every run of columns within [first, end) of a row that may be written, from left to
/// right. No region is kept as runs yet, so that is the whole row.
template <class Take>
void inside_runs([[maybe_unused]] const BITMAPHANDLE& bitmap, [[maybe_unused]] int32_t row, int32_t first, int32_t end,
                 Take&& take) noexcept
{
    if (first < end)
        take(first, end);
}

} // namespace vk::combine
