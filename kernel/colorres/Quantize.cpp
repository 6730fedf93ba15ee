#include "kernel/colorres/Quantize.h"

#include "kernel/colorres/Refine.h"
#include "kernel/convert/Gray.h"
#include "kernel/threading/Bands.h"
#include "platform/platform.h"

#include <algorithm>
#include <tuple>

namespace vk::quantize {

namespace {

/// Everything that making a palette needs besides the count, in one block.
struct Work {
    RefineTables tables;
    Center centers[256];
    Point points[1]; ///< as many as there are
};

uint8_t level(int32_t coordinate) noexcept
{
    const int32_t rounded = (coordinate + (1 << kFraction) / 2) >> kFraction;
    return static_cast<uint8_t>(std::clamp(rounded, 0, 255));
}

auto sort_key(const RGBQUAD& entry) noexcept
{
    const uint32_t gray = 5u * entry.rgbGreen + 2u * entry.rgbRed + entry.rgbBlue;
    return std::tuple(gray, entry.rgbGreen, entry.rgbRed, entry.rgbBlue);
}

/// Sorts by brightness and drops what is there twice.
uint32_t tidy(RGBQUAD* entries, uint32_t count) noexcept
{
    std::sort(entries, entries + count,
              [](const RGBQUAD& a, const RGBQUAD& b) noexcept { return sort_key(a) < sort_key(b); });
    RGBQUAD* const end = std::unique(entries, entries + count, [](const RGBQUAD& a, const RGBQUAD& b) noexcept {
        return sort_key(a) == sort_key(b);
    });
    return static_cast<uint32_t>(end - entries);
}

} // namespace

bool Quantizer::make(RGBQUAD* entries, uint32_t* count, bool* is_exact) noexcept
{
    *is_exact = counted_.is_exact();
    if (*is_exact) {
        for (uint32_t i = 0; i < counted_.colors(); ++i) {
            const uint32_t color = counted_.color(i);
            entries[i] = {static_cast<uint8_t>(color), static_cast<uint8_t>(color >> 8),
                          static_cast<uint8_t>(color >> 16), 0};
        }
        *count = tidy(entries, counted_.colors());
        return true;
    }
    const uint32_t points = counted_.point_count();
    auto* const work = static_cast<Work*>(platform::heap_alloc(sizeof(Work) + points * sizeof(Point)));
    if (!work)
        return false;
    counted_.write_points(work->points);
    const uint32_t centers = cut(work->points, points, colors_, work->centers);
    refine(work->points, points, work->centers, centers, work->tables, workers_allowed());
    for (uint32_t i = 0; i < centers; ++i) {
        const int32_t(&at)[3] = work->centers[i].at;
        entries[i] = {level(at[0]), level(at[1]), level(at[2]), 0};
    }
    *count = tidy(entries, centers);
    platform::heap_free(work);
    return true;
}

} // namespace vk::quantize
