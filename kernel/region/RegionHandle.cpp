#include "kernel/region/RegionHandle.h"

#if defined(_WIN32)

#include "kernel/area/AreaBuilder.h"
#include "kernel/region/RegionChange.h"
#include "platform/context.h"
#include "platform/platform.h"

#include <algorithm>

namespace vk {

namespace {

bool same_band(const RECT& a, const RECT& b) noexcept
{
    return a.top == b.top && a.bottom == b.bottom;
}

/// The band that begins with a rectangle, cut to a frame. Rectangles that touch become one run. Null without memory.
const RECT* add_band(const RECT* rect, const RECT* end, const AreaBox& frame, AreaBuilder& area) noexcept
{
    const RECT* const behind =
        std::find_if(rect, end, [&](const RECT& other) noexcept { return !same_band(*rect, other); });
    AreaRun* const runs = area.room(static_cast<uint64_t>(behind - rect));
    if (!runs)
        return nullptr;
    uint64_t count = 0;
    const int32_t top = std::max<int32_t>(rect->top, frame.top), bottom = std::min<int32_t>(rect->bottom, frame.bottom);
    for (; rect != behind; ++rect) {
        const AreaRun run{std::max<int32_t>(rect->left, frame.left), std::min<int32_t>(rect->right, frame.right)};
        if (run.first >= run.end)
            continue;
        if (count > 0 && runs[count - 1].end >= run.first)
            runs[count - 1].end = std::max(runs[count - 1].end, run.end);
        else
            runs[count++] = run;
    }
    area.add_band(top, bottom, count);
    return behind;
}

} // namespace

int combine_handle(BITMAPHANDLE& bitmap, HRGN handle, uint32_t mode) noexcept
{
    void* block = nullptr;
    const RECT* rects = nullptr;
    uint32_t count = 0;
    const platform::RegionRead read = platform::region_read(handle, &block, &rects, &count);
    if (read != platform::RegionRead::done)
        return read == platform::RegionRead::no_region ? V_ERROR_INVALID_HANDLE : V_ERROR_NO_MEMORY;
    AreaBuilder area(AreaHome::block);
    const AreaBox frame = frame_of(bitmap);
    const RECT* at = rects;
    while (at && at != rects + count)
        at = add_band(at, rects + count, frame, area);
    platform::region_rects_free(block);
    return at && area.good() ? combine_region(bitmap, area, mode) : V_ERROR_NO_MEMORY;
}

HRGN make_handle(const Area& area) noexcept
{
    uint64_t count = 0;
    for (uint32_t i = 0; i < area.band_count; ++i)
        count += area.bands[i].runs();
    if (count > UINT32_MAX / sizeof(RECT))
        return nullptr;
    auto* const rects =
        static_cast<RECT*>(platform::heap_alloc(static_cast<size_t>(std::max<uint64_t>(count, 1)) * sizeof(RECT)));
    if (!rects)
        return nullptr;
    RECT* rect = rects;
    for (uint32_t i = 0; i < area.band_count; ++i)
        for (const AreaRun& run : area.runs_of(area.bands[i]))
            *rect++ = {run.first, area.bands[i].top, run.end, area.bands[i].bottom};
    const HRGN handle = platform::region_create(rects, static_cast<uint32_t>(count));
    platform::heap_free(rects);
    return handle;
}

} // namespace vk

#endif
