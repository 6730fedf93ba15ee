// The inner loops of the wide filter, plain and in vectors (Wide_vector.cpp), which give the same to the bit.
//
// A source row goes along the row first, to sums of 64 bits that lose some of their last bits; rows of sums then go
// down the columns, and what comes out becomes lanes. Of pixels with alpha four numbers are summed: the products of
// three colours and alpha, and alpha itself, times 2^extra so that it keeps about as many bits as they do.
//
// Rows of sums have the form that a set of loops gives them: only its own `down` takes them. All rows have room for
// kLaneSlack lanes more, which may be written.
#pragma once

#include "kernel/resample/ByteKernels.h"
#include "simd/Level.h"

#include <cstddef>
#include <cstdint>

namespace vk::resample {

/// Rows that go down the columns at a time.
constexpr int32_t kMostWideRows = 8;

/// What a pass along the row needs.
struct WideRow {
    AlongRow<int32_t> along; ///< weights as whole numbers
    int32_t lane_bytes;
    bool by_alpha; ///< products are summed
    int32_t extra; ///< bits that alpha beside products is shifted by
    int32_t shift; ///< bits that sums lose, halves up
    uint64_t most; ///< largest number that is summed
    // For vectors:
    const double* reals; ///< the weights, those of a position followed by zeros where `pitch` is more than they are
    int32_t pitch;
    double* room;  ///< for the numbers of a row in two parts, zeros behind them
    size_t part;   ///< where the second one begins
    int32_t split; ///< what wide_split() says
};

/// Rows of sums on their way down the columns.
struct WideRows {
    const int64_t* of[kMostWideRows];
    const int32_t* weights;
    int32_t taps;  ///< rows there are, at least one
    int32_t split; ///< what wide_split() said of them
    bool add;      ///< to what is there
};

/// What ends the sums.
struct WideEnd {
    int32_t lane_bytes;
    uint32_t most; ///< largest lane
    bool by_alpha;
    int32_t extra;
    int32_t shift;  ///< of kernels: bits to drop; 0: area averaging
    int64_t unit;   ///< what sums are divided by: all weights, or 2^shift
    double inverse; ///< 1 / unit
};

/// The mean that a sum is.
inline uint32_t wide_lane(int64_t sum, const WideEnd& end) noexcept
{
    const int64_t value = end.shift == 0 ? (sum + end.unit / 2) / end.unit : (sum + end.unit / 2) >> end.shift;
    return static_cast<uint32_t>(value < 0 ? 0 : value > end.most ? end.most : value);
}

/// The sum of alpha without the bits that it has more than needed.
inline int64_t wide_alpha(int64_t sum, int32_t extra) noexcept
{
    return (sum + (int64_t{1} << extra >> 1)) >> extra;
}

/// One set of loops.
struct WideLoops {
    /// A row of lanes to sums.
    void (*along)(const uint8_t* lanes, const WideRow& row, int64_t* out) noexcept;
    /// Sums rows times their weights.
    void (*down)(const WideRows& rows, int64_t* sums, size_t count) noexcept;
    /// Sums to lanes. True when alpha has nothing visible in some pixels, whose colours then are anything.
    bool (*finish)(const int64_t* sums, const WideEnd& end, void* out, size_t count) noexcept;
};

/// The loops of the plain path.
const WideLoops& plain_wide_loops() noexcept;

/// Those in vectors, which sum a row in reals: for numbers that wide_fits_reals() allows.
VK_SIMD_TABLE(WideLoops, wide_loops);
bool wide_fits_reals(const WideRow& row, int64_t total) noexcept;

/// Sums of up to `most` go down the columns as reals, too, where weights that add up to `weights` can be had in two
/// parts, the lower one of so many bits and a sign, by which they stay exact. 0 when there are none.
int32_t wide_split(double most, double weights) noexcept;

/// Whether reals hold the sums of a row only in two parts, the upper and the lower 16 bits of numbers.
bool is_in_parts(const WideRow& row) noexcept;

} // namespace vk::resample
