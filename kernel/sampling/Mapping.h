// Maps from a canvas back to the source: what a painter asks for. Plane.h has the projective ones, Grid.h those by a
// grid of points.
#pragma once

#include "kernel/sampling/Loops.h"
#include "kernel/sampling/Track.h"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace vk::sampling {

/// Columns left to right - 1, rows top to bottom - 1.
struct Box {
    int32_t left = 0;
    int32_t top = 0;
    int32_t right = 0;
    int32_t bottom = 0;

    constexpr bool empty() const noexcept { return left >= right || top >= bottom; }
    constexpr int64_t width() const noexcept { return int64_t{right} - left; }
    constexpr int64_t height() const noexcept { return int64_t{bottom} - top; }
};

struct Extent {
    int32_t width = 0;
    int32_t height = 0;
};

/// Points that are taken of each canvas pixel, side by side and one below the other: sample (column, row) lies at
/// ((column + 1/2) / across, (row + 1/2) / down).
struct Raster {
    int32_t across = 1;
    int32_t down = 1;

    constexpr bool is_fine() const noexcept { return across > 1 || down > 1; }
};

/// A part of the source in continuous coordinates, not cut to it; more than is seen where that cannot be told.
struct Seen {
    double left;
    double top;
    double right;
    double bottom;

    void add(double x, double y) noexcept
    {
        *this = {std::min(left, x), std::min(top, y), std::max(right, x), std::max(bottom, y)};
    }
};
constexpr double kEndless = std::numeric_limits<double>::infinity();
constexpr Seen kNothing{kEndless, kEndless, -kEndless, -kEndless};

/// How many source pixels lie between neighbouring canvas pixels.
struct Spacing {
    double across;
    double down;
};

class Mapping {
public:
    Mapping(const Extent& source, const Extent& canvas) noexcept : source_(source), canvas_(canvas), loops_(&loops()) {}

    const Extent& source() const noexcept { return source_; }
    const Extent& canvas() const noexcept { return canvas_; }

    /// Tells the positions of the next samples of a row, among columns [begin, end), that may see the source. False
    /// when there are none left. Samples that are passed over lie outside of the source by more than the reach.
    virtual bool follow(const Raster& raster, const Reach& reach, int64_t row, int64_t begin, int64_t end,
                        Track& track) const noexcept = 0;

    /// The widest spacing among canvas pixels [begin, end) of a row.
    virtual Spacing spacing(int32_t row, int32_t begin, int32_t end) const noexcept = 0;

    /// What a box of the canvas sees of the source.
    virtual Seen seen(const Box& box) const noexcept = 0;

protected:
    ~Mapping() = default;

    /// A track that is being filled.
    class Writer;

    const Extent source_;
    const Extent canvas_;
    const PositionLoops* loops_;
};

/// Appends arcs to a track as long as they follow one another and fit.
class Mapping::Writer {
public:
    Writer(const PositionLoops& loops, const Reach& reach, Track& track) noexcept
        : loops_(loops), reach_(reach), track_(track)
    {
        track_.count = 0;
    }

    int32_t room() const noexcept { return kLongest - track_.count; }
    /// Tells finer positions of the whole track.
    void set_line(const Line& line) noexcept { track_.line = line; }
    bool is_empty() const noexcept { return track_.count == 0; }

    /// Appends positions [from, from + count) of an arc, whose first is for `column`. False when they do not fit.
    bool append(Arc arc, int64_t column, int32_t from, int32_t count) noexcept;

private:
    const PositionLoops& loops_;
    const Reach& reach_;
    Track& track_;
};

/// A position or a step as a number with kFineBits; below 2^22 pixels in magnitude.
inline int64_t to_fine(double value) noexcept
{
    const double scaled = value * static_cast<double>(kFineOne);
    return static_cast<int64_t>(scaled + (scaled < 0 ? -0.5 : 0.5));
}

/// The whole number at or below one that is less than 2^62 in magnitude. Not by std::floor, which may be a call.
inline int64_t floor_of(double value) noexcept
{
    const auto cut = static_cast<int64_t>(value);
    return cut - (static_cast<double>(cut) > value);
}

/// Columns begin to end - 1 that a row's stretch is narrowed to by conditions that are linear along it.
class Narrowing {
public:
    Narrowing(int64_t begin, int64_t end) noexcept
        : from_(static_cast<double>(begin)), to_(static_cast<double>(end) - 1)
    {}

    /// Keeps columns with start + column * slope >= 0.
    void keep(double start, double slope) noexcept;

    bool empty() const noexcept { return !(from_ <= to_); }
    int64_t begin() const noexcept { return static_cast<int64_t>(from_); }
    int64_t end() const noexcept { return static_cast<int64_t>(to_) + 1; }

private:
    double from_;
    double to_;
};

} // namespace vk::sampling
