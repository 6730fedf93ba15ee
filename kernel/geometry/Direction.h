// Angles in hundredths of a degree as unit vectors, worked out with the four basic operations alone, so that they are
// the same on every system.
#pragma once

#include <cstdint>

namespace vk {

constexpr int32_t kRightAngle = 9000;
constexpr int32_t kFullTurn = 36000;

/// The unit vector at an angle from 0 to kFullTurn - 1. Exact at right angles, and equal where symmetry says so.
struct Direction {
    double cosine;
    double sine;
};
Direction direction_of(int32_t angle) noexcept;

/// The angle from 0 to kFullTurn - 1 that any angle means.
constexpr int32_t angle_in_turn(int32_t angle) noexcept
{
    const int32_t rest = angle % kFullTurn;
    return rest < 0 ? rest + kFullTurn : rest;
}

} // namespace vk
