// Where the pixels of a stretch of a canvas row come from: fixed point positions in the source.
//
// A row is cut into arcs, on each of which positions are a parabola with 40 fraction bits: exact at its ends and its
// middle for a projective map, exact throughout for everything that is linear along the row. Where arcs begin depends
// on the column alone, so the same pixel has the same position whatever is painted before it, and vector loops, which
// add in another order, get the very same integers.
//
// How far a position is off: less than 2^-12 pixels by the parabola, 2^-17 by the rounding to 16 fraction bits, 2^-24
// by the rounding of its three numbers, and what doubles leave of the map itself, which is below 2^-30 on pictures of
// 65,536 pixels. Together less than 1/2048 pixel.
#pragma once

#include <cstdint>

namespace vk::sampling {

/// Bits behind the point in an arc, and in a track.
constexpr int kFineBits = 40;
constexpr int kFractionBits = 16;
constexpr int64_t kFineOne = int64_t{1} << kFineBits;
constexpr int32_t kOne = 1 << kFractionBits;

/// Columns of an arc, and of a track, at most.
constexpr int32_t kLongest = 256;
/// Pixels from an arc's first position to its others, at most.
constexpr int32_t kWidest = 8192;
/// Pixels from a track's base to that of an arc in it, at most: together they fit 32 bits.
constexpr int64_t kFarthest = 16384;

/// Positions that vector loops write at a time, past the last one too.
constexpr int32_t kMostLanes = 16;

/// Positions x + i * step_x + i * i * bend_x, and so for y, counted from whole pixels.
struct Arc {
    int64_t base_x;
    int64_t base_y;
    int64_t x;
    int64_t y;
    int64_t step_x;
    int64_t step_y;
    int64_t bend_x;
    int64_t bend_y;
};

/// Bits behind the point in a line.
constexpr int kLineBits = 27;

/// Positions that grow evenly, x + i * step_x and so for y, of which only what is behind the point counts: whole pixels
/// are lost as 32 bits wrap.
struct Line {
    uint32_t x = 0;
    uint32_t y = 0;
    uint32_t step_x = 0;
    uint32_t step_y = 0;

    Line from(int32_t i) const noexcept
    {
        const auto steps = static_cast<uint32_t>(i);
        return {x + steps * step_x, y + steps * step_y, step_x, step_y};
    }
};

/// A stretch of a row that may see the source. x and y are counted from the base; the whole part of such a position is
/// the pixel, or the first of the pixels to be mixed, the fraction is how far behind it.
struct Track {
    int64_t first = 0; ///< column
    int32_t count = 0;
    int64_t base_x = 0;
    int64_t base_y = 0;
    bool is_straight = false;                     ///< positions grow evenly, so that its ends tell where it lies
    Line line{};                                  ///< the same positions, finer, where a mapping tells them
    alignas(64) int32_t x[kLongest + kMostLanes]; ///< the last ones are written past the count only
    alignas(64) int32_t y[kLongest + kMostLanes];
};

/// The box of the pixels that a track's positions begin with: columns left to right, rows top to bottom, all included.
struct Span {
    int64_t left;
    int64_t top;
    int64_t right;
    int64_t bottom;
};

/// What a way of taking pixels asks for: positions - `shift` are told, and pixels up to `low` before a position's and
/// `high` behind it are looked at.
struct Reach {
    int64_t shift;
    int32_t low;
    int32_t high;
};

/// The pixel whose square holds the position; one on an edge belongs to the pixel before it.
constexpr Reach kNearestReach{1, 0, 0};
/// Two or four pixels around the position, rounded to the nearest of the track's fractions.
constexpr int64_t kRounded = kFineOne >> (kFractionBits + 1);
constexpr Reach kLinearReach{kFineOne / 2 - kRounded, 0, 1};
constexpr Reach kCubicReach{kFineOne / 2 - kRounded, 1, 2};

/// Writes an arc's positions [from, from + count) to x and y, counted from `shift_x` and `shift_y` pixels further.
struct ArcPart {
    const Arc& arc;
    int32_t from;
    int32_t count;
    int32_t shift_x; ///< whole pixels to add
    int32_t shift_y;
    int32_t* x;
    int32_t* y;
};

/// The inner loops on positions, which exist for several instruction sets and are equal to the bit.
struct PositionLoops {
    void (*write)(const ArcPart& part) noexcept;
    /// Of samples [from, from + count), of which there are some.
    Span (*measure)(const Track& track, int32_t from, int32_t count) noexcept;
};

} // namespace vk::sampling
