// Areas of simple shapes, cut to a frame. A pixel belongs to a round shape when its centre lies inside or on the edge;
// everything is worked out in whole numbers.
#pragma once

#include "kernel/area/AreaBuilder.h"

namespace vk {

// Each builds anew, and is false without memory.

bool build_rectangle(const AreaBox& box, const AreaBox& frame, AreaBuilder& built) noexcept;

/// The ellipse that touches the box's edges.
bool build_ellipse(const AreaBox& box, const AreaBox& frame, AreaBuilder& built) noexcept;

/// The box with corners of an ellipse of `width` x `height` pixels, both at least 0; no larger than the box.
bool build_round_rectangle(const AreaBox& box, int64_t width, int64_t height, const AreaBox& frame,
                           AreaBuilder& built) noexcept;

} // namespace vk
