// Gray to two grays without error: comparisons with thresholds, and the bits of many pixels at once.
//
// The thresholds of a row repeat every eight columns. A pixel's bit is set when its level is above `above`, or always
// where `always` is all ones; `invert` turns the bits round when the higher level has index 0.
#pragma once

#include "kernel/dither/State.h"
#include "simd/Level.h"

namespace vk::dither {

struct BitRow {
    uint8_t above[8];
    uint8_t always[8];
    uint8_t invert;
};

/// Reverses the bits of each byte.
constexpr uint32_t reverse_bits(uint32_t v) noexcept
{
    v = (v & 0x0F0F0F0Fu) << 4 | (v >> 4 & 0x0F0F0F0Fu);
    v = (v & 0x33333333u) << 2 | (v >> 2 & 0x33333333u);
    return (v & 0x55555555u) << 1 | (v >> 1 & 0x55555555u);
}

/// True for runs whose rows can be done by bits_row.
bool has_bits(const DitherState& state) noexcept;

/// Packs the indices of a row of levels, which may lie where they go.
void bits_row(DitherState& state, const uint8_t* levels, uint8_t* dst) noexcept;

struct BitLoops {
    /// The bits of the first pixels of a row, as many as fill vectors; how many is returned.
    size_t (*row)(const BitRow& row, const uint8_t* levels, size_t count, uint8_t* dst) noexcept;
};

VK_SIMD_TABLE_256(BitLoops, bit_loops);

} // namespace vk::dither
