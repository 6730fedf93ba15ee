// Turning a bitmap by any angle. The way of the pixels stands in kernel/rotate/: where they come from (Geometry.h), how
// they are taken (Nearest.h, Filter.h) and how they get there from any storage (Turn.h).
#pragma once

#include "Vkrecord.h"

#include <cstdint>

namespace vk {

/// V_IntRotateBitmap for a record that is checked.
int rotate_bitmap(BITMAPHANDLE& bitmap, int32_t angle, uint32_t flags, COLORREF fill, int progress_start,
                  int progress_end, double center_x, double center_y) noexcept;

} // namespace vk
