// The inner loops over lanes of one byte, plain and in vectors (Bytes_vector256.cpp), which give the same to the bit.
//
// Area averaging goes down the columns first: sums of 32 bits, then along the row to quotients. Other kernels go along
// the row first, to values times 64 in 16 bits, then down the columns; weights have 14 bits. A loop for whole vectors
// may do less than it is asked: it says how much, and the plain one does the rest.
#pragma once

#include "simd/Level.h"

#include <cstddef>
#include <cstdint>

namespace vk::resample {

/// Bits of the weights of kernels, and of what is kept below a unit between the passes.
constexpr int32_t kNarrowBits = 14;
constexpr int32_t kNarrowFraction = 6;
/// More taps than this would let the weights' rounding show.
constexpr int32_t kMostNarrowTaps = 16;
/// Rows that sum_rows takes at a time.
constexpr int32_t kSumRows = 4;
/// Taps of the narrow table come in groups of this many, the last filled up with zeros.
constexpr int32_t kTapGroup = 4;
/// Lanes behind the end of a row between the passes that may be written or read.
constexpr size_t kLaneSlack = 64;

/// What a pass along the row needs.
template <class Weight> struct AlongRow {
    const int32_t* first; ///< first pixel of each position
    const Weight* weights;
    int32_t taps;     ///< of each position
    int32_t pitch;    ///< weights from one position to the next
    int32_t channels; ///< 1, 3 or 4
    int32_t source;   ///< pixels of the row
    int32_t count;    ///< positions
};

/// The quotient that ends area averaging.
struct Quotient {
    uint64_t total;
    double inverse; ///< not below 1 / total, and above it by two last bits at most
};

/// One set of loops.
struct ByteLoops {
    /// Sums kSumRows rows of lanes times their weights, which are below 32768; `add`: to what is there.
    size_t (*sum_rows)(const uint8_t* const* rows, const int32_t* weights, uint32_t* sums, size_t count,
                       bool add) noexcept;
    /// Positions of a row of sums to lanes.
    int32_t (*area_row)(const uint32_t* sums, const AlongRow<int32_t>& along, const Quotient& quotient,
                        uint8_t* out) noexcept;
    /// Positions of a row of lanes to 16-bit values.
    int32_t (*kernel_row)(const uint8_t* lanes, const AlongRow<int16_t>& along, int16_t* out) noexcept;
    /// An even number of rows of 16-bit values to lanes.
    size_t (*kernel_rows)(const int16_t* const* rows, const int16_t* weights, int32_t taps, uint8_t* out,
                          size_t count) noexcept;
};

/// The loops of the plain path, which do all they are asked.
const ByteLoops& plain_loops() noexcept;

/// Those in vectors.
VK_SIMD_TABLE_256(ByteLoops, byte_loops);

/// The plain loops from a position or lane on.
void area_row_from(int32_t begin, const uint32_t* sums, const AlongRow<int32_t>& along, const Quotient& quotient,
                   uint8_t* out) noexcept;
void kernel_row_from(int32_t begin, const uint8_t* lanes, const AlongRow<int16_t>& along, int16_t* out) noexcept;
void sum_rows_from(size_t begin, const uint8_t* const* rows, const int32_t* weights, uint32_t* sums, size_t count,
                   bool add) noexcept;
void kernel_rows_from(size_t begin, const int16_t* const* rows, const int16_t* weights, int32_t taps, uint8_t* out,
                      size_t count) noexcept;

} // namespace vk::resample
