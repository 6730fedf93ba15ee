// Angles in hundredths of a degree: the integer sine that callers get. Directions stand with the geometry.
#pragma once

#include "kernel/geometry/Direction.h"

namespace vk {

/// V_SinValue and V_CosValue.
int32_t sine_value(int32_t angle) noexcept;
int32_t cosine_value(int32_t angle) noexcept;

} // namespace vk
