// Access to the two bitmaps of a resize at once.
#pragma once

#include "kernel/rows/Locks.h"

namespace vk {

/// Runs `fill(from, to)` with both accessed. SUCCESS, or the first thing that failed.
template <class Fill> int with_access(BITMAPHANDLE& from, BITMAPHANDLE& to, Fill fill) noexcept
{
    BitmapAccess from_access(from);
    int result = from_access.result();
    if (result != V_SUCCESS)
        return result;
    BitmapAccess to_access(to);
    result = to_access.result();
    if (result == V_SUCCESS)
        result = fill(from, to);
    const int released = release_both(to_access, from_access);
    return first_failure(result, released);
}

} // namespace vk
