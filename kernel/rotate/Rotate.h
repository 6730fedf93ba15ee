// Turning a bitmap by any angle. Geometry.h says where its pixels come from; how they are taken, and how they get there
// from any storage, stands in kernel/sampling/, to which Turn.h tells the positions.
#pragma once

#include "Vkrecord.h"

#include <cstdint>

namespace vk {

/// V_IntRotateBitmap for a record that is checked.
int rotate_bitmap(BITMAPHANDLE& bitmap, int32_t angle, uint32_t flags, COLORREF fill, int progress_start,
                  int progress_end, double center_x, double center_y) noexcept;

} // namespace vk
