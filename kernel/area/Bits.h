// Rows of bits, most significant first, as runs of set bits, and runs as bits.
#pragma once

#include "kernel/area/AreaBuilder.h"

#include <cstddef>

namespace vk {

/// Writes the runs of set bits among the first `width` of a row; there is room for width / 2 + 1 of them. Returns how
/// many there are.
size_t runs_of_bits(const uint8_t* row, int32_t width, AreaRun* runs) noexcept;

/// Rows of bits that stand somewhere.
struct BitRows {
    const uint8_t* data;
    size_t stride; ///< bytes from one to the next
    int32_t row;   ///< the number of the first
    int32_t count;
};

/// Adds the runs of such rows. Without memory the builder says so.
void add_rows_of_bits(BitRows rows, int32_t width, AreaBuilder& built) noexcept;

/// Sets the bits of runs that lie within the row, and leaves the others.
void set_bits(uint8_t* row, AreaRuns runs) noexcept;

} // namespace vk
