// Painting a whole canvas. Where source and canvas are memory that is a walk in the order in which caches like it.
// Other pixels pass through memory in boxes of the canvas: a box is halved until what it sees of the source fits a
// buffer, each time the way that reads less, so that upright pictures go by bands of whole rows. What is held at a time
// is bounded whatever the bitmaps' sizes, and each part of the source is read once for every box that sees it.
#pragma once

#include "kernel/sampling/Painter.h"
#include "kernel/system/Progress.h"

namespace vk::sampling {

/// Steps that painting a canvas reports.
int64_t progress_steps(const Extent& canvas) noexcept;

/// Paints an accessed bitmap of the canvas's size from an accessed one. The progress has begun; its total is
/// progress_steps. `cells` is what the painter mixes, or null. SUCCESS or a code.
int paint_canvas(BITMAPHANDLE& source, BITMAPHANDLE& made, const Mapping& mapping, const Cells* cells, Painter& painter,
                 Progress& progress) noexcept;

/// Holds no more of the source at a time than this; what is held usually for 0. For tests, which have small pictures.
void limit_held(uint64_t bytes) noexcept;

} // namespace vk::sampling
