// Points and rectangles carried from one view perspective to another. Points are pixels, so that the last one has the
// index size - 1; the right and bottom of a rectangle lie just outside it.
#pragma once

#include "Vktypes.h"
#include "kernel/view/ViewPerspective.h"

namespace vk {

/// Sums wrap at 32 bits.
void change_point(PerspectiveChange change, int32_t width, int32_t height, int32_t& x, int32_t& y) noexcept;
void change_rect(PerspectiveChange change, int32_t width, int32_t height, RECT& rect) noexcept;

} // namespace vk
