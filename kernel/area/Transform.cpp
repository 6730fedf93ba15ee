#include "kernel/area/Transform.h"

#include "kernel/area/Combine.h"
#include "kernel/area/Shapes.h"

#include <algorithm>

namespace vk {

namespace {

int32_t clamped(int64_t value, int32_t low, int32_t high) noexcept
{
    return static_cast<int32_t>(std::clamp<int64_t>(value, low, high));
}

/// Position `at` of `from` in the stepping rule: the first of `to` positions that takes it or one behind it.
int32_t scaled(int32_t at, int32_t from, int32_t to) noexcept
{
    return static_cast<int32_t>((int64_t{at} * to + from - 1) / from);
}

/// Adds runs that went through `map`, which keeps their order: those that became empty go, those that touch join.
template <class Map> void add_mapped(AreaRuns runs, int32_t top, int32_t bottom, AreaBuilder& built, Map map) noexcept
{
    if (top >= bottom)
        return;
    AreaRun* const to = built.room(runs.size());
    if (!to)
        return;
    uint32_t made = 0;
    for (const AreaRun& run : runs) {
        const AreaRun mapped = map(run);
        if (mapped.first >= mapped.end)
            continue;
        if (made != 0 && to[made - 1].end == mapped.first)
            to[made - 1].end = mapped.end;
        else
            to[made++] = mapped;
    }
    built.add_band(top, bottom, uint64_t{made});
}

} // namespace

bool copy_area(const Area& area, AreaBuilder& built) noexcept
{
    built.clear();
    for (uint32_t i = 0; i < area.band_count; ++i)
        built.add_band(area.bands[i].top, area.bands[i].bottom, area.runs_of(area.bands[i]));
    return built.good();
}

bool cut_area(const Area& area, const AreaBox& box, AreaBuilder& built) noexcept
{
    return move_area(area, 0, 0, box, built);
}

bool move_area(const Area& area, int64_t columns, int64_t rows, const AreaBox& frame, AreaBuilder& built) noexcept
{
    built.clear();
    for (uint32_t i = 0; i < area.band_count; ++i) {
        const AreaBand& band = area.bands[i];
        add_mapped(area.runs_of(band), clamped(band.top + rows, frame.top, frame.bottom),
                   clamped(band.bottom + rows, frame.top, frame.bottom), built, [&](const AreaRun& run) noexcept {
                       return AreaRun{clamped(run.first + columns, frame.left, frame.right),
                                      clamped(run.end + columns, frame.left, frame.right)};
                   });
    }
    return built.good();
}

bool invert_area(const Area& area, const AreaBox& frame, AreaBuilder& built) noexcept
{
    AreaBuilder all;
    return build_rectangle(frame, frame, all) && combine_areas(all.area(), area, AreaOp::first_only, built);
}

bool flip_area(const Area& area, int32_t height, AreaBuilder& built) noexcept
{
    built.clear();
    for (uint32_t i = area.band_count; i > 0; --i) {
        const AreaBand& band = area.bands[i - 1];
        built.add_band(height - band.bottom, height - band.top, area.runs_of(band));
    }
    return built.good();
}

bool mirror_area(const Area& area, int32_t width, AreaBuilder& built) noexcept
{
    built.clear();
    for (uint32_t i = 0; i < area.band_count; ++i) {
        const AreaRuns runs = area.runs_of(area.bands[i]);
        AreaRun* to = built.room(runs.size());
        if (!to)
            return false;
        for (const AreaRun* run = runs.end(); run != runs.begin();) {
            --run;
            *to++ = {width - run->end, width - run->first};
        }
        built.add_band(area.bands[i].top, area.bands[i].bottom, uint64_t{runs.size()});
    }
    return built.good();
}

bool lay_out_area(const Area& area, Layout layout, int32_t width, int32_t height, AreaBuilder& built) noexcept
{
    AreaBuilder other;
    if (!(layout.flip ? flip_area(area, height, built) : copy_area(area, built)))
        return false;
    if (layout.mirror && !(copy_area(built.area(), other) && mirror_area(other.area(), width, built)))
        return false;
    return !layout.transpose || (copy_area(built.area(), other) && transpose_area(other.area(), built));
}

bool scale_area(const Area& area, int32_t old_width, int32_t old_height, int32_t width, int32_t height,
                AreaBuilder& built) noexcept
{
    built.clear();
    for (uint32_t i = 0; i < area.band_count; ++i) {
        const AreaBand& band = area.bands[i];
        add_mapped(area.runs_of(band), scaled(band.top, old_height, height), scaled(band.bottom, old_height, height),
                   built, [&](const AreaRun& run) noexcept {
                       return AreaRun{scaled(run.first, old_width, width), scaled(run.end, old_width, width)};
                   });
    }
    return built.good();
}

} // namespace vk
