#include "kernel/warp/Plane.h"

#include "kernel/geometry/Matrix.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace vk::warp {

namespace {

/// A position, or none that can be told.
struct Place {
    double x;
    double y;
    double weight;

    bool is_known() const noexcept
    {
        constexpr double kFar = 0x1p40;
        return weight > 0 && std::fabs(x) < kFar && std::fabs(y) < kFar;
    }
};

bool is_near(const Place& a, const Place& b) noexcept
{
    return std::fabs(a.x - b.x) <= kWidest && std::fabs(a.y - b.y) <= kWidest;
}

/// A quotient by a power of two, towards 0, without a division.
int64_t shared(int64_t value, int bits) noexcept
{
    return (value + (value < 0 ? (int64_t{1} << bits) - 1 : 0)) >> bits;
}

/// The parabola through positions at 0, half and twice half, whose whole pixels are left out.
struct Parabola {
    int64_t start;
    int64_t step;
    int64_t bend;

    Parabola(double base, double first, double middle, double last, int64_t half) noexcept
        : start(to_fine(first - base)), step(0), bend(0)
    {
        const int64_t to_middle = to_fine(middle - base) - start;
        const int64_t to_last = to_fine(last - base) - start;
        const int bits = std::countr_zero(static_cast<uint64_t>(half));
        bend = shared(to_last - 2 * to_middle, 2 * bits + 1);
        step = shared(to_middle, bits) - bend * half;
    }
};

double length_of(double x, double y) noexcept
{
    return std::sqrt(x * x + y * y);
}

} // namespace

/// A row of samples: each of the three is start + slope * column.
struct Plane::Line {
    double x;
    double y;
    double weight;
    double slope_x;
    double slope_y;
    double slope_weight;

    double weight_at(int64_t column) const noexcept { return weight + static_cast<double>(column) * slope_weight; }

    Place at(int64_t column) const noexcept
    {
        const auto c = static_cast<double>(column);
        const double here = weight + c * slope_weight;
        const double unit = slope_weight == 0 && weight == 1 ? 1 : 1 / here;
        return {(x + c * slope_x) * unit, (y + c * slope_y) * unit, here};
    }
};

Plane::Plane(const Extent& source, const Extent& canvas, const V_MATRIX& back) noexcept
    : Mapping(source, canvas), back_(back), is_affine_(geometry::is_affine(back) && back.m[2][2] > 0)
{
    // So that affine positions need no division.
    if (const double unit = back_.m[2][2]; is_affine_)
        for (auto& each : back_.m)
            for (double& value : each)
                value /= unit;
}

Plane::Line Plane::line_of(const Raster& raster, int64_t row) const noexcept
{
    const double across = 1.0 / raster.across;
    const double down = (static_cast<double>(row) + 0.5) / raster.down;
    const auto start = [&](int axis) noexcept {
        return (down * back_.m[1][axis] + back_.m[2][axis]) + 0.5 * across * back_.m[0][axis];
    };
    return {start(0), start(1), start(2), across * back_.m[0][0], across * back_.m[0][1], across * back_.m[0][2]};
}

Narrowing Plane::narrowed(const Line& line, const Reach& reach, int64_t begin, int64_t end) const noexcept
{
    constexpr double kRoom = 2; // for rounding
    const double before = reach.low + kRoom;
    const double width = source_.width + reach.high + kRoom;
    const double height = source_.height + reach.high + kRoom;
    Narrowing stretch(begin, end);
    stretch.keep(line.weight, line.slope_weight);
    stretch.keep(line.x + before * line.weight, line.slope_x + before * line.slope_weight);
    stretch.keep(line.y + before * line.weight, line.slope_y + before * line.slope_weight);
    stretch.keep(width * line.weight - line.x, width * line.slope_weight - line.slope_x);
    stretch.keep(height * line.weight - line.y, height * line.slope_weight - line.slope_y);
    return stretch;
}

/// An arc for columns [first, first + columns), a power of two, unless that many are too many for it.
bool Plane::make_arc(const Line& line, int64_t first, int64_t columns, Arc& arc) const noexcept
{
    const int64_t half = columns / 2;
    const Place a = line.at(first);
    if (!a.is_known())
        return false;
    arc = {floor_of(a.x), floor_of(a.y), 0, 0, 0, 0, 0, 0};
    const auto base_x = static_cast<double>(arc.base_x);
    const auto base_y = static_cast<double>(arc.base_y);
    if (is_affine_) {
        const auto steps = static_cast<double>(columns);
        if (columns > 1 && (std::fabs(line.slope_x) * steps > kWidest || std::fabs(line.slope_y) * steps > kWidest))
            return false;
        arc.step_x = columns > 1 ? to_fine(line.slope_x) : 0;
        arc.step_y = columns > 1 ? to_fine(line.slope_y) : 0;
    } else if (columns > 1) {
        // Between its nodes a parabola is off by at most half^3 / (9 sqrt 3) of the third derivative, which is
        // 6 slope_weight^2 turn / weight^4.
        constexpr double kShare = 6 / 15.588457268119894;
        const double last_weight = line.weight_at(first + columns);
        const double least = std::min(a.weight, last_weight);
        const double turn_x = line.slope_x - a.x * line.slope_weight;
        const double turn_y = line.slope_y - a.y * line.slope_weight;
        const double turn = std::max(std::fabs(turn_x), std::fabs(turn_y)) * a.weight;
        const double reach = static_cast<double>(half) * line.slope_weight;
        const double off = kShare * static_cast<double>(half) * reach * reach * turn;
        if (!(least > 0) || !(off <= 0x1p-12 * (least * least) * (least * least)))
            return false;
        const Place b = line.at(first + half);
        const Place c = line.at(first + columns);
        if (!is_near(a, b) || !is_near(a, c))
            return false;
        const Parabola x(base_x, a.x, b.x, c.x, half);
        const Parabola y(base_y, a.y, b.y, c.y, half);
        arc = {arc.base_x, arc.base_y, x.start, y.start, x.step, y.step, x.bend, y.bend};
        return true;
    }
    arc.x = to_fine(a.x - base_x);
    arc.y = to_fine(a.y - base_y);
    return true;
}

bool Plane::follow(const Raster& raster, const Reach& reach, int64_t row, int64_t begin, int64_t end,
                   Track& track) const noexcept
{
    const Line line = line_of(raster, row);
    const Narrowing stretch = narrowed(line, reach, begin, end);
    Writer writer(*loops_, reach, track);
    if (stretch.empty())
        return false;
    const int64_t stop = std::min(stretch.end(), stretch.begin() / kLongest * kLongest + kLongest);
    int64_t columns = kLongest;
    for (int64_t at = stretch.begin(); at < stop; columns = std::min<int64_t>(at & -at, kLongest)) {
        // Arcs that would begin before this place were too long for the last one.
        Arc arc;
        while (columns > 0 && !make_arc(line, at & -columns, columns, arc))
            columns /= 2;
        if (columns == 0) { // goes too far: nothing to be seen
            if (!writer.is_empty())
                break;
            ++at;
            continue;
        }
        const int64_t first = at & -columns;
        const auto count = static_cast<int32_t>(std::min(first + columns, stop) - at);
        if (!writer.append(arc, first, static_cast<int32_t>(at - first), count))
            break;
        at += count;
    }
    return !writer.is_empty();
}

Spacing Plane::spacing(int32_t row, int32_t begin, int32_t end) const noexcept
{
    const Line line = line_of({}, row);
    Spacing widest{0, 0};
    for (const int32_t column : {begin, end - 1}) {
        const Place here = line.at(column);
        if (!(here.weight > 0))
            return {kEndless, kEndless};
        const auto along = [&](int axis) noexcept {
            const auto& slope = back_.m[axis];
            return length_of((slope[0] - here.x * slope[2]) / here.weight,
                             (slope[1] - here.y * slope[2]) / here.weight);
        };
        widest = {std::max(widest.across, along(0)), std::max(widest.down, along(1))};
    }
    return widest;
}

Seen Plane::seen(const Box& box) const noexcept
{
    Seen all = kNothing;
    int behind = 0;
    for (const int32_t column : {box.left, box.right})
        for (const int32_t row : {box.top, box.bottom}) {
            const geometry::Weighted at = geometry::weigh(back_, column, row);
            behind += !(at.weight > 0);
            all.add(at.x / at.weight, at.y / at.weight);
        }
    if (behind == 0 || behind == 4)
        return behind == 0 ? all : kNothing;
    return {0, 0, double{1} * source_.width, double{1} * source_.height};
}

} // namespace vk::warp
