// Areas of polygons with corners anywhere between pixels.
#pragma once

#include "kernel/area/AreaBuilder.h"

namespace vk {

struct AreaPoint {
    double x;
    double y;
};

enum class FillRule : uint8_t {
    alternate, ///< inside after an odd number of crossings
    winding,   ///< inside where the outline goes around
};

/// Builds the area of a closed polygon, cut to a frame. A pixel belongs to it when its centre does; a centre on the
/// outline belongs to what is to the right of it and below, so that polygons with a common side neither overlap nor
/// leave a gap. Corners are finite; they are taken in units of 1/65536 pixel, and no farther away than 2^44 pixels.
/// False without memory.
bool build_polygon(const AreaPoint* points, uint32_t count, FillRule rule, const AreaBox& frame,
                   AreaBuilder& built) noexcept;

} // namespace vk
