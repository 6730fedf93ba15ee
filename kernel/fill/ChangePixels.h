// The frame of every function that changes a part of one bitmap: access and progress around the work.
#pragma once

#include "kernel/combine/Clip.h"
#include "kernel/rows/Locks.h"
#include "kernel/system/Progress.h"

namespace vk::fill {

/// Runs `change(progress)`, whose steps are the area's rows, with the bitmap accessed. An empty area leaves nothing to
/// do. SUCCESS, or the first thing that failed.
template <class Change> int change_pixels(BITMAPHANDLE& bitmap, const combine::Area& area, Change change) noexcept
{
    if (area.empty())
        return V_SUCCESS;
    BitmapAccess access(bitmap);
    int result = access.result();
    if (result != V_SUCCESS)
        return result;
    Progress progress(area.height());
    result = progress.begin();
    if (result == V_SUCCESS)
        result = change(progress);
    return first_failure(result, access.release());
}

} // namespace vk::fill
