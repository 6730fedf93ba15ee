// Turning a whole bitmap onto another. Where both are memory, boxes of the canvas are painted in place. Pixels that
// live elsewhere pass through memory box by box: a box of kBoxSide pixels square needs no more of the source than a box
// of its diagonal, so what is held at a time is bounded whatever the bitmaps' sizes.
#pragma once

#include "kernel/rotate/Painter.h"
#include "kernel/system/Progress.h"

namespace vk::rotate {

/// Steps that turning onto `made` reports.
int64_t progress_steps(const Geometry& geometry) noexcept;

/// Fills an accessed bitmap of the canvas's size, clear so far, from an accessed one. The progress has begun; its total
/// is progress_steps. SUCCESS or a code.
int turn_pixels(BITMAPHANDLE& source, BITMAPHANDLE& made, const Geometry& geometry, const Painter& painter,
                Progress& progress) noexcept;

} // namespace vk::rotate
