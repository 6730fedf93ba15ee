// Where the pixels of a turned image come from.
//
// Positions are fixed point with 27 fraction bits. Every stretch of a row starts from a position worked out exactly and
// is walked by adding the rounded step, so that a position is off by less than 2^-18 pixels; the vector loops, which
// take a step times 0 to 7 in 32 bits, get the very same positions.
#pragma once

#include <cstdint>

namespace vk::rotate {

constexpr int kFractionBits = 27;
constexpr int64_t kOne = int64_t{1} << kFractionBits;

/// Pixels between two exact starts, at most.
constexpr int32_t kLongestRun = 256;

struct Point {
    double x;
    double y;
};

/// The turn of an image onto its canvas: source = center + turned(target + origin).
struct Geometry {
    int32_t width = 0; ///< of the image
    int32_t height = 0;
    int32_t canvas_width = 0;
    int32_t canvas_height = 0;
    double cosine = 1; ///< of the angle that leads back to the image
    double sine = 0;
    Point origin{};
    Point center{};
    int64_t step_x = kOne;
    int64_t step_y = 0;

    /// The source position of a canvas pixel's centre.
    Point source_of(double column, double row) const noexcept;

    /// Every canvas pixel lies on one of the image: there is nothing to interpolate.
    bool moves_whole_pixels() const noexcept;
};

/// How the canvas lies.
enum class Placement : uint8_t {
    kept,     ///< of the image's size, middle on middle
    grown,    ///< the turned box's size, middle on middle
    cornered, ///< the turned box's size, from the box's smallest corner on
};

/// Describes a turn of stored pixels whose source positions are target positions turned by `angle` (0 to 35999). False
/// when the canvas has more rows or columns than a record can say.
bool make_geometry(Geometry& geometry, int32_t width, int32_t height, int32_t angle, Placement placement) noexcept;

/// What a sampling asks for: pixel position = source position - shift, and pixels from `low` before the image to
/// `high` behind its end give something other than the fill.
struct Reach {
    int64_t shift;
    int32_t low;
    int32_t high;
};

/// The shift for the pixel whose square holds the position: one on an edge belongs to the pixel before it.
constexpr int64_t kOnEdge = 1;

/// A stretch of a canvas row that sees the image: columns, and the pixel position at the first.
struct Run {
    int32_t first;
    int32_t end;
    int64_t x;
    int64_t y;

    constexpr bool empty() const noexcept { return first >= end; }
};

/// The stretch among columns [begin, end) of a row, no more than kLongestRun of them.
Run find_run(const Geometry& geometry, const Reach& reach, int32_t row, int32_t begin, int32_t end) noexcept;

} // namespace vk::rotate
