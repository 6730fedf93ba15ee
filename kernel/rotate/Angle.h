// Angles in hundredths of a degree: the integer sine that callers get, and the exact directions that rotation works
// with.
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

/// V_SinValue and V_CosValue.
int32_t sine_value(int32_t angle) noexcept;
int32_t cosine_value(int32_t angle) noexcept;

} // namespace vk
