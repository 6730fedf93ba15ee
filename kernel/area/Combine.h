// Two areas into one, in one sweep over the bands of both.
#pragma once

#include "kernel/area/AreaBuilder.h"

namespace vk {

/// An operation by its truth table: bit a + 2 b says whether a pixel belongs to the result that is (1) or is not (0) in
/// the first and in the second area. What is in neither never belongs to it.
enum class AreaOp : uint8_t {
    both = 0b1000,
    either = 0b1110,
    one = 0b0110,        ///< one of them and not the other
    first_only = 0b0010, ///< in the first and not in the second
    second_only = 0b0100,
};

/// Builds the combination; false without memory. The operands stand elsewhere than in the builder.
bool combine_areas(const Area& a, const Area& b, AreaOp op, AreaBuilder& built) noexcept;

} // namespace vk
