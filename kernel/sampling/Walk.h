// Painting a whole canvas. Where source and canvas are memory that is a walk in the order in which caches like it.
// Other pixels pass through memory in boxes of the canvas: a box is halved until what it sees of the source fits a
// buffer, each time the way that reads less, so that upright pictures go by bands of whole rows. What is held at a time
// is bounded whatever the bitmaps' sizes, and each part of the source is read once for every box that sees it.
#pragma once

#include "kernel/sampling/Painter.h"
#include "kernel/system/Progress.h"
#include "kernel/threading/Bands.h"

namespace vk::sampling {

/// Steps that painting a canvas reports.
int64_t progress_steps(const Extent& canvas) noexcept;

/// An accessed bitmap of the canvas's size that is painted from an accessed one. `cells` is what painters mix, or null.
struct Painting {
    BITMAPHANDLE& source;
    BITMAPHANDLE& made;
    const Mapping& mapping;
    const Cells* cells;
};

/// Paints all of it by the calling thread. The progress has begun; its total is progress_steps. SUCCESS or a code.
int paint_canvas(const Painting& painting, Painter& painter, Progress& progress) noexcept;

/// Paints the bands that a thread takes.
int paint_bands(const Painting& painting, Painter& painter, Bands& bands) noexcept;

/// How the canvas is cut up for the threads that the caller allows: for one thread where pixels are not memory.
BandPlan plan_canvas(const Painting& painting) noexcept;

/// Paints all of it by as many threads as that, with painters of their own: `with(act)` makes one and hands it to
/// `act(painter)`, whose result it returns, or why there is none.
template <class With> int paint_canvas(const Painting& painting, Progress& progress, const With& with) noexcept
{
    const BandPlan plan = plan_canvas(painting);
    if (plan.threads == 1)
        return with([&](Painter& painter) noexcept { return paint_canvas(painting, painter, progress); });
    auto work = [&](Bands& bands) noexcept {
        return with([&](Painter& painter) noexcept { return paint_bands(painting, painter, bands); });
    };
    return run_bands(plan, progress, work);
}

/// Holds no more of the source at a time than this; what is held usually for 0. For tests, which have small pictures.
void limit_held(uint64_t bytes) noexcept;

} // namespace vk::sampling
