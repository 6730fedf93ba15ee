#include "kernel/colorres/Cut.h"

#include <algorithm>

namespace vk::quantize {

namespace {

/// Planes lie between cells; a bin is a layer of cells across an axis.
constexpr int32_t kBins = 64;
constexpr int32_t kBinShift = 2 + kFraction;

/// Weight and weighted coordinates of some points.
struct Moments {
    int64_t weight = 0;
    int64_t sums[3] = {};

    void add(const Point& point) noexcept
    {
        weight += point.weight;
        for (int axis = 0; axis < 3; ++axis)
            sums[axis] += int64_t{point.at[axis]} * point.weight;
    }
    void add(const Moments& other) noexcept
    {
        weight += other.weight;
        for (int axis = 0; axis < 3; ++axis)
            sums[axis] += other.sums[axis];
    }
    Moments without(const Moments& other) const noexcept
    {
        Moments rest;
        rest.weight = weight - other.weight;
        for (int axis = 0; axis < 3; ++axis)
            rest.sums[axis] = sums[axis] - other.sums[axis];
        return rest;
    }
    /// What the mean of these points takes off their squares: |sums|^2 / weight.
    double saved() const noexcept
    {
        double squares = 0;
        for (const int64_t sum : sums)
            squares += static_cast<double>(sum) * static_cast<double>(sum);
        return weight == 0 ? 0 : squares / static_cast<double>(weight);
    }
};

/// A range of the points and its best division: points with a bin below `plane` on `axis` go first.
struct Box {
    uint32_t begin, end;
    Moments moments;
    double gain; ///< 0: cannot be divided
    int32_t axis, plane;
};

int32_t bin_of(const Point& point, int32_t axis) noexcept
{
    return point.at[axis] >> kBinShift;
}

void find_division(const Point* points, Box& box) noexcept
{
    Moments bins[3][kBins];
    for (uint32_t i = box.begin; i < box.end; ++i)
        for (int32_t axis = 0; axis < 3; ++axis)
            bins[axis][bin_of(points[i], axis)].add(points[i]);
    box.moments = Moments();
    for (const Moments& bin : bins[0])
        box.moments.add(bin);
    const double undivided = box.moments.saved();
    box.gain = 0;
    for (int32_t axis = 0; axis < 3; ++axis) {
        Moments below;
        for (int32_t plane = 1; plane < kBins; ++plane) {
            if (bins[axis][plane - 1].weight == 0)
                continue;
            below.add(bins[axis][plane - 1]);
            const Moments above = box.moments.without(below);
            if (above.weight == 0)
                break;
            const double gain = below.saved() + above.saved() - undivided;
            if (gain > box.gain) {
                box.gain = gain;
                box.axis = axis;
                box.plane = plane;
            }
        }
    }
}

/// Divides a box; its upper part goes to `upper`.
void divide(Point* points, Box& box, Box& upper) noexcept
{
    const int32_t axis = box.axis;
    const int32_t plane = box.plane;
    Point* const middle =
        std::partition(points + box.begin, points + box.end,
                       [axis, plane](const Point& point) noexcept { return bin_of(point, axis) < plane; });
    upper.end = box.end;
    box.end = upper.begin = static_cast<uint32_t>(middle - points);
    find_division(points, box);
    find_division(points, upper);
}

} // namespace

Center mean_of(const int64_t (&sums)[3], int64_t weight) noexcept
{
    Center center;
    for (int axis = 0; axis < 3; ++axis)
        center.at[axis] = static_cast<int32_t>((2 * sums[axis] + weight) / (2 * weight));
    return center;
}

uint32_t cut(Point* points, uint32_t count, uint32_t most, Center* centers) noexcept
{
    Box boxes[256];
    boxes[0].begin = 0;
    boxes[0].end = count;
    find_division(points, boxes[0]);
    uint32_t used = 1;
    for (; used < most; ++used) {
        Box* const best =
            std::max_element(boxes, boxes + used, [](const Box& a, const Box& b) noexcept { return a.gain < b.gain; });
        if (best->gain <= 0)
            break;
        divide(points, *best, boxes[used]);
    }
    for (uint32_t i = 0; i < used; ++i) {
        centers[i] = mean_of(boxes[i].moments.sums, boxes[i].moments.weight);
        for (uint32_t at = boxes[i].begin; at < boxes[i].end; ++at)
            points[at].owner = static_cast<int16_t>(i);
    }
    return used;
}

} // namespace vk::quantize
