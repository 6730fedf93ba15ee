// Rows resized to the nearest pixel. What the stepping does is the same for every row, so a plan is worked out once:
// which bytes to shuffle where (whole-byte pixels), which bits to pick or spread (1 bit). Without AVX2, at other depths
// and where a plan does not pay, pixels are walked one by one; the results are the same to the bit.
//
// A row is read and written within its packed bytes alone; bits behind the last pixel become clear.
#pragma once

#include "common/Rows.h"

#include <cstddef>
#include <cstdint>

namespace vk::resize {

/// What plans may use of the processor; for tests and benchmarks, while nothing is planned.
enum class Level : uint8_t { plain, avx2 };
/// Goes down to a level, or up again as far as the processor goes; returns the one now in use.
Level limit_level(Level limit) noexcept;

/// How a plan gets the front part of a row; what is left is walked.
enum class Way : uint8_t { copy, walk, shuffle, pick_bits, spread_bits, double_bits };

/// The plan of a row.
struct NearestPlan {
    int32_t bits = 0;
    int32_t from = 0; ///< pixels
    int32_t to = 0;
    Way way = Way::walk;
    uint32_t parts = 0;      ///< shuffle: 16-byte loads per 16 bytes written
    int64_t steps = 0;       ///< steps of the planned part
    int64_t period = 0;      ///< shuffle: steps after which the table repeats
    size_t advance = 0;      ///< shuffle: source bytes per period
    int64_t walked_from = 0; ///< first destination pixel that is walked; at a byte boundary
    RowBuffer table;

    size_t from_bytes() const noexcept;
    size_t to_bytes() const noexcept;
};

/// Plans rows of `from` pixels that become `to`, both above 0, at a bitmap's depth. SUCCESS or ERROR_NO_MEMORY.
int plan_nearest(NearestPlan& plan, int32_t bits, int32_t from, int32_t to) noexcept;

/// Resizes a row; the two do not overlap.
void run_nearest(const NearestPlan& plan, const uint8_t* src, uint8_t* dst) noexcept;

/// Copies a row past the caches; a fence is the caller's.
void stream_row(const uint8_t* from, uint8_t* to, size_t bytes) noexcept;

// Tables, as NearestTables.cpp makes them and Nearest_avx2.cpp reads them.

/// 32 bytes to write: for either half a source offset within the period and, behind the header, `parts` masks of both.
struct ShuffleStep {
    uint32_t base[2];
};
/// 64 pixels to write from up to 64 of the source.
struct SpreadStep {
    uint64_t ends;  ///< where runs end, counted from the last pixel
    uint64_t bound; ///< the same without the first
    uint32_t byte;  ///< first source byte
    uint8_t skip;   ///< bits in front of the first pixel in it
    uint8_t spare;  ///< 64 less the number of source pixels
};
/// 56 pixels to read.
struct PickStep {
    uint64_t mask;
    uint64_t count;
};

/// False without memory. The plan falls back to walking where a table does not pay.
bool make_shuffle(NearestPlan& plan) noexcept;
bool make_spread(NearestPlan& plan) noexcept;
bool make_pick(NearestPlan& plan) noexcept;
void make_double(NearestPlan& plan) noexcept; ///< for rows that become twice as long

void shuffle_avx2(const NearestPlan& plan, const uint8_t* src, uint8_t* dst) noexcept;
void spread_avx2(const NearestPlan& plan, const uint8_t* src, uint8_t* dst) noexcept;
void pick_avx2(const NearestPlan& plan, const uint8_t* src, uint8_t* dst) noexcept;
void double_avx2(const NearestPlan& plan, const uint8_t* src, uint8_t* dst) noexcept;

} // namespace vk::resize
