#include "kernel/rotate/Turn.h"

#include <algorithm>

namespace vk::rotate {

namespace {

/// Columns that are walked from one exact start where pixels are mixed. Where runs begin depends on the column alone.
constexpr int32_t kMixedColumns = 64;
static_assert(kFractionBits == sampling::kLineBits && kMixedColumns <= kLongestRun &&
              kLongestRun <= sampling::kLongest);

sampling::Arc arc_of(const Run& run, const Geometry& geometry) noexcept
{
    constexpr int kFiner = sampling::kFineBits - kFractionBits;
    constexpr int64_t kFraction = kOne - 1;
    return {run.x >> kFractionBits,
            run.y >> kFractionBits,
            (run.x & kFraction) << kFiner,
            (run.y & kFraction) << kFiner,
            geometry.step_x * (int64_t{1} << kFiner),
            geometry.step_y * (int64_t{1} << kFiner),
            0,
            0};
}

sampling::Line line_of(const Run& run, const Geometry& geometry) noexcept
{
    return {static_cast<uint32_t>(run.x), static_cast<uint32_t>(run.y), static_cast<uint32_t>(geometry.step_x),
            static_cast<uint32_t>(geometry.step_y)};
}

} // namespace

bool Turn::follow(const sampling::Raster&, const sampling::Reach& reach, int64_t row, int64_t begin, int64_t end,
                  sampling::Track& track) const noexcept
{
    const sampling::Reach told{0, reach.low, reach.high}; // positions are shifted as they are found
    const bool is_nearest = taken_ == Taken::nearest;
    const Reach seen{is_nearest ? kOnEdge : kOne / 2, reach.high, reach.low};
    const int32_t columns = is_nearest ? kLongestRun : kMixedColumns;
    sampling::Mapping::Writer writer(*loops_, told, track);
    while (begin < end) {
        const auto first = static_cast<int32_t>(begin / columns * columns);
        const int32_t behind = first + std::min(columns, canvas_.width - first);
        const Run run = find_run(geometry_, seen, static_cast<int32_t>(row), first, behind);
        const int64_t from = std::max<int64_t>(begin, run.first);
        const int64_t to = std::min<int64_t>(end, run.end);
        begin = behind;
        if (from >= to)
            continue;
        const auto skipped = static_cast<int32_t>(from - run.first);
        writer.set_line(line_of(run, geometry_).from(skipped));
        return writer.append(arc_of(run, geometry_), run.first, skipped, static_cast<int32_t>(to - from));
    }
    return false;
}

sampling::Seen Turn::seen(const sampling::Box& box) const noexcept
{
    sampling::Seen all = sampling::kNothing;
    for (const double column : {double{1} * box.left, double{1} * box.right})
        for (const double row : {double{1} * box.top, double{1} * box.bottom}) {
            const Point at = geometry_.source_of(column - 0.5, row - 0.5);
            all.add(at.x, at.y);
        }
    return all;
}

} // namespace vk::rotate
