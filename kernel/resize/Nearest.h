// Rows resized to the nearest pixel. What the stepping does is the same for every row, so a plan is worked out once:
// which bytes to shuffle where (whole-byte pixels, to which others are spread), which bits to pick or spread (1 bit).
// Without vectors to shuffle,
// at other depths and where a plan does not pay, pixels are walked one by one; the results are the same to the bit.
//
// A row is read and written within its packed bytes alone; bits behind the last pixel become clear.
#pragma once

#include "kernel/rows/RowAccess.h"
#include "simd/Level.h"

#include <cstddef>
#include <cstdint>

namespace vk::resize {

/// How a plan gets the front part of a row; what is left is walked.
enum class Way : uint8_t { copy, walk, shuffle, permute, pick_bits, spread_bits, double_bits, shuffle_bits };

struct NearestLoops;

/// The plan of a row.
struct NearestPlan {
    int32_t bits = 0;   ///< of the pixels that are moved
    int32_t packed = 0; ///< and as they are stored, where they are spread to bytes or words first; else 0
    int32_t from = 0;   ///< pixels
    int32_t to = 0;
    Way way = Way::walk;
    uint32_t parts = 0;      ///< shuffle: 16-byte loads per 16 bytes written; permute: 64-byte ones per 64
    int64_t steps = 0;       ///< steps of the planned part
    int64_t inner_steps = 0; ///< permute: those whose loads lie within the source row
    int64_t period = 0;      ///< shuffle, permute: steps after which the table repeats
    size_t advance = 0;      ///< shuffle, permute: source bytes per period
    int64_t walked_from = 0; ///< first destination pixel that is walked; at a byte boundary
    RowBuffer table;
    const NearestLoops* loops = nullptr; ///< for all ways but copying, walking and permuting
    RowBuffer spread;                    ///< a row before, and behind it one as it becomes

    size_t from_bytes() const noexcept; ///< of pixels that are moved
    size_t to_bytes() const noexcept;
    size_t row_bytes() const noexcept; ///< of what becomes of a row, as it is stored
};

/// Source pixels per destination pixel from which walking is faster than spreading them all.
constexpr int32_t kMostSpread = 8;

/// Plans rows of `from` pixels that become `to`, both above 0, at a bitmap's depth. SUCCESS or ERROR_NO_MEMORY.
int plan_nearest(NearestPlan& plan, int32_t bits, int32_t from, int32_t to) noexcept;

/// Resizes a row, one at a time by a plan; the two do not overlap. The row that will be wanted next may be fetched,
/// `ahead` bytes further on.
void run_nearest(const NearestPlan& plan, const uint8_t* src, uint8_t* dst, ptrdiff_t ahead = 0) noexcept;

/// Copies rows past the caches; a fence is the caller's.
void stream_rows(const uint8_t* from, uint8_t* to, size_t bytes) noexcept;

/// Source pixels per destination pixel from which 16 pixels may come from more than 16 bytes.
constexpr int32_t kMostShuffledBits = 8;

// Tables, as NearestTables.cpp makes them and the loops read them.

/// 32 bytes to write: for either half a source offset within the period and, behind the header, `parts` masks of both.
struct ShuffleStep {
    uint32_t base[2];
};
/// 64 bytes to write from up to four loads of 64 from `base` on within the period.
struct alignas(64) PermuteStep {
    uint8_t order[64]; ///< per byte its place, modulo two loads
    uint64_t is_back;  ///< bytes that come from the third and fourth load
    uint32_t base;
};
/// Where they begin, in the block that a table is.
inline PermuteStep* permute_steps(const RowBuffer& table) noexcept
{
    const auto address = reinterpret_cast<uintptr_t>(table.data());
    return reinterpret_cast<PermuteStep*>(table.data() + (alignof(PermuteStep) - address % alignof(PermuteStep)) %
                                                             alignof(PermuteStep));
}
/// 64 pixels to write from up to 64 of the source.
struct SpreadStep {
    uint64_t ends;  ///< where runs end, counted from the last pixel
    uint64_t bound; ///< the same without the first
    uint32_t byte;  ///< first source byte
    uint8_t skip;   ///< bits in front of the first pixel in it
    uint8_t spare;  ///< 64 less the number of source pixels
};
/// 16 pixels to write from 16 bytes of the source; the last pixel of a byte comes first.
struct BitStep {
    uint8_t place[16]; ///< byte of each pixel
    uint8_t bit[16];   ///< and its bit in there
    uint32_t base;     ///< first source byte
};
/// 56 pixels to read.
struct PickStep {
    uint64_t mask;
    uint64_t count;
};

/// False without memory. The plan falls back to walking where a table does not pay.
bool make_shuffle(NearestPlan& plan) noexcept;
bool make_permute(NearestPlan& plan) noexcept;
bool make_spread(NearestPlan& plan) noexcept;
bool make_pick(NearestPlan& plan) noexcept;
bool make_shuffle_bits(NearestPlan& plan) noexcept; ///< where words of bits are slow; below kMostShuffledBits
void make_double(NearestPlan& plan) noexcept;       ///< for rows that become twice as long

/// The planned part of rows.
using PlannedLoop = void(const NearestPlan& plan, const uint8_t* src, uint8_t* dst) noexcept;
struct NearestLoops {
    PlannedLoop* shuffle;
    PlannedLoop* double_bits;
    PlannedLoop* spread_bits;
    PlannedLoop* pick_bits;
    PlannedLoop* shuffle_bits;
    /// Copies whole cache lines past the caches, to an address that is one.
    void (*stream_lines)(const uint8_t* from, uint8_t* to, size_t bytes) noexcept;
};
struct PermuteLoops {
    void (*row)(const NearestPlan& plan, const uint8_t* src, uint8_t* dst, ptrdiff_t ahead) noexcept;
};

VK_SIMD_TABLE_256(NearestLoops, nearest_loops);
VK_SIMD_TABLE_512(PermuteLoops, permute_loops);

} // namespace vk::resize
