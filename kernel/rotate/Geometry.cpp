#include "kernel/rotate/Geometry.h"

#include "kernel/rotate/Angle.h"
#include "simd/Round.h"

#include <algorithm>
#include <cmath>

namespace vk::rotate {

namespace {

/// Rounded by the processor, without a call.
int64_t to_fixed(double value) noexcept
{
    return simd::nearest_whole(value * static_cast<double>(kOne));
}

/// Cuts [from, to] to the columns at which `start` + column * `slope` lies in [low, high].
void narrow(double start, double slope, double low, double high, double& from, double& to) noexcept
{
    if (slope == 0) {
        if (start < low || start > high)
            to = from - 1;
        return;
    }
    const double a = (low - start) / slope;
    const double b = (high - start) / slope;
    from = std::max(from, std::min(a, b));
    to = std::min(to, std::max(a, b));
}

/// The pixel positions at which a reach sees the image.
struct Seen {
    int64_t low;
    int64_t high_x;
    int64_t high_y;

    bool has(int64_t x, int64_t y) const noexcept { return x >= low && x < high_x && y >= low && y < high_y; }
};

/// The axis-parallel extent of one coordinate of the turned image, which is `by_x` * x + `by_y` * y.
struct Extent {
    double least;
    double most;

    Extent(double by_x, double by_y, double width, double height) noexcept
        : least(std::min(0.0, by_x * width) + std::min(0.0, by_y * height)),
          most(std::max(0.0, by_x * width) + std::max(0.0, by_y * height))
    {}

    /// Deliberately not rounded at the half.
    double pixels() const noexcept { return std::trunc(most - least + 0.6); }
};

} // namespace

Point Geometry::source_of(double column, double row) const noexcept
{
    const double x = column + 0.5 + origin.x;
    const double y = row + 0.5 + origin.y;
    return {center.x + (x * cosine - y * sine), center.y + (x * sine + y * cosine)};
}

bool Geometry::moves_whole_pixels() const noexcept
{
    const Point first = source_of(0, 0);
    const auto is_middle = [](double value) noexcept { return value - 0.5 == std::floor(value); };
    return step_x % kOne == 0 && step_y % kOne == 0 && is_middle(first.x) && is_middle(first.y);
}

bool make_geometry(Geometry& geometry, int32_t width, int32_t height, int32_t angle, Placement placement) noexcept
{
    const Direction direction = direction_of(angle);
    geometry = {};
    geometry.width = width;
    geometry.height = height;
    geometry.cosine = direction.cosine;
    geometry.sine = direction.sine;
    geometry.step_x = to_fixed(direction.cosine);
    geometry.step_y = to_fixed(direction.sine);
    const Extent across(direction.cosine, direction.sine, width, height);
    const Extent down(-direction.sine, direction.cosine, width, height);
    const bool is_kept = placement == Placement::kept;
    const double canvas_width = is_kept ? width : across.pixels();
    const double canvas_height = is_kept ? height : down.pixels();
    if (canvas_width > INT32_MAX || canvas_height > INT32_MAX)
        return false;
    geometry.canvas_width = static_cast<int32_t>(canvas_width);
    geometry.canvas_height = static_cast<int32_t>(canvas_height);
    if (placement == Placement::cornered) {
        // Another centre moves image and box alike: none is needed.
        geometry.origin = {across.least, down.least};
    } else {
        geometry.origin = {canvas_width * -0.5, canvas_height * -0.5};
        geometry.center = {width * 0.5, height * 0.5};
    }
    return true;
}

Run find_run(const Geometry& geometry, const Reach& reach, int32_t row, int32_t begin, int32_t end) noexcept
{
    const auto start_at = [&](int32_t first, int32_t behind) noexcept {
        const Point at = geometry.source_of(first, row);
        return Run{first, behind, to_fixed(at.x) - reach.shift, to_fixed(at.y) - reach.shift};
    };
    const Seen seen{int64_t{-reach.low} * kOne, (int64_t{geometry.width} + reach.high) * kOne,
                    (int64_t{geometry.height} + reach.high) * kOne};
    const auto ends_inside = [&](const Run& run) noexcept {
        const int64_t steps = run.end - 1 - run.first;
        return seen.has(run.x + steps * geometry.step_x, run.y + steps * geometry.step_y);
    };
    // What lies inside is one stretch, so the ends tell. Most rows are inside as a whole. Numbers that were stored one
    // by one are not copied together: processors wait for that.
    const Run whole = start_at(begin, end);
    if (seen.has(whole.x, whole.y) && ends_inside(whole))
        return {begin, end, whole.x, whole.y};

    // Roughly first, with room for rounding, then by the positions themselves.
    constexpr double kRoom = 1.0 / 1024;
    const Point start = geometry.source_of(0, row);
    const double shift = static_cast<double>(reach.shift) / static_cast<double>(kOne);
    const double low = shift - reach.low - kRoom;
    double from = begin;
    double to = end - 1;
    narrow(start.x, geometry.cosine, low, shift + geometry.width + reach.high + kRoom, from, to);
    narrow(start.y, geometry.sine, low, shift + geometry.height + reach.high + kRoom, from, to);
    if (from > to)
        return {begin, begin, 0, 0};
    Run run = start_at(static_cast<int32_t>(from), std::min(static_cast<int32_t>(to) + 2, end));
    for (; !run.empty() && !seen.has(run.x, run.y); ++run.first) {
        run.x += geometry.step_x;
        run.y += geometry.step_y;
    }
    while (!run.empty() && !ends_inside(run))
        --run.end;
    return run;
}

} // namespace vk::rotate
