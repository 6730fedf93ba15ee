// Fused paths: conversions of hot pairs in one step, in place of unpack, reduce and pack.
//
// They are rows of a table for each set of instructions, and of one for all processors. A path may serve a plan when
// formats agree and its own condition holds; the first that may, of the best set's table and then of the other, is
// taken. Its result is the general way's, bit for bit: the tests run every row against it.
#pragma once

#include "kernel/convert/Plan.h"
#include "simd/Ahead.h"
#include "simd/Level.h"

#include <cstddef>
#include <cstdint>

namespace vk::pixel {

/// Pixels a path may convert in one step at most.
constexpr size_t kMaxFusedStep = 64;
/// Bytes a path may read or write past the pixels it is given.
constexpr size_t kFusedSlack = 64;

/// Converts `count` pixels, a multiple of the path's step, from one place to another that does not overlap it.
using Kernel = void(const Plan& plan, const uint8_t* src, uint8_t* dst, size_t count) noexcept;

struct FusedPath {
    const char* name;
    int32_t src_bits, src_order; ///< as in the format table
    int32_t dst_bits, dst_order;
    size_t step;  ///< pixels are converted by so many at a time, a multiple of 8
    size_t slack; ///< bytes the last step may read and write too far
    Kernel* run;
    Kernel* stream; ///< the same past the caches, to a destination at a cache line, writing nothing too far; or null
    /// Whether the path serves this plan beyond its formats, which have neither gamut nor alpha steps; may prepare what
    /// it needs in the plan's table. Null: always.
    bool (*serves)(Plan& plan) noexcept;
};

/// Sets the path a plan takes, or null, and whether its pixels are spread before. Everything else of the plan is
/// decided.
void choose_fused(Plan& plan) noexcept;

/// The form of the pixels that the plan's path takes.
inline const Format& taken_form(const Plan& plan) noexcept
{
    return plan.spread != nullptr ? *plan.spread : *plan.src;
}

/// Pixels that take a fused path at a time where they go by way of memory of their own.
constexpr size_t kFusedChunk = 2048;

/// Runs the plan's path over any number of pixels of the form that it takes, without touching a byte outside of them
/// and what is spare.
void run_fused(const Plan& plan, const uint8_t* src, uint8_t* dst, size_t count, Spare spare) noexcept;

/// The same for pixels of the plan's source.
void fuse_row(const Plan& plan, const uint8_t* src, uint8_t* dst, size_t count, Spare spare) noexcept;

/// fuse_row past the caches where the destination allows it.
void stream_fused(const Plan& plan, const uint8_t* src, uint8_t* dst, size_t count) noexcept;

/// A table, special before general.
struct FusedRows {
    const FusedPath* first;
    size_t count;
};

VK_SIMD_TABLE(FusedRows, fused_rows);
extern const FusedRows kPlainFusedRows; ///< from Level::base on

/// For 8 bits to one: leaves in the plan's table a bit for each index or gray, eight to a byte from the lowest on.
constexpr size_t kBitTableBytes = 32;
bool find_bits(Plan& plan) noexcept;

/// For gray to one bit, which is a comparison unless the palette is odd: leaves the lowest gray that has the other
/// index than black in the plan's table, and after it black's index. False when there is no such limit.
bool find_threshold(Plan& plan) noexcept;

} // namespace vk::pixel
