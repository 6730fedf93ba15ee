// What areas are asked.
#include "kernel/area/Area.h"

#include <algorithm>
#include <cstring>

namespace vk {

AreaRuns Area::row(int32_t y) const noexcept
{
    const AreaBand* const last = bands + band_count;
    const AreaBand* const band =
        std::partition_point(bands, last, [y](const AreaBand& each) noexcept { return each.bottom <= y; });
    return band == last || band->top > y ? AreaRuns{} : runs_of(*band);
}

AreaRuns Area::row(int32_t y, int32_t first, int32_t end) const noexcept
{
    const AreaRuns all = row(y);
    const AreaRun* const from =
        std::partition_point(all.begin(), all.end(), [first](const AreaRun& run) noexcept { return run.end <= first; });
    return {from,
            std::partition_point(from, all.end(), [end](const AreaRun& run) noexcept { return run.first < end; })};
}

bool Area::contains(int32_t x, int32_t y) const noexcept
{
    if (x == INT32_MAX) // no run reaches it
        return false;
    return row(y, x, x + 1).size() != 0;
}

AreaBox Area::bounds() const noexcept
{
    if (empty())
        return {};
    AreaBox box{INT32_MAX, bands[0].top, INT32_MIN, bands[band_count - 1].bottom};
    for (uint32_t i = 0; i < band_count; ++i) {
        box.left = std::min(box.left, runs[bands[i].first].first);
        box.right = std::max(box.right, runs[bands[i].end - 1].end);
    }
    return box;
}

uint64_t Area::size() const noexcept
{
    uint64_t pixels = 0;
    for (uint32_t i = 0; i < band_count; ++i) {
        uint64_t in_row = 0;
        for (const AreaRun& run : runs_of(bands[i]))
            in_row += static_cast<uint32_t>(run.end) - static_cast<uint32_t>(run.first);
        pixels += in_row * (static_cast<uint32_t>(bands[i].bottom) - static_cast<uint32_t>(bands[i].top));
    }
    return pixels;
}

bool Area::equals(const Area& other) const noexcept
{
    if (band_count != other.band_count || run_count != other.run_count)
        return false;
    return empty() || (std::memcmp(bands, other.bands, band_count * sizeof *bands) == 0 &&
                       std::memcmp(runs, other.runs, run_count * sizeof *runs) == 0);
}

} // namespace vk
