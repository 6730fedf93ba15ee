// Painting a whole canvas. Where source and canvas are memory that is a walk in the order in which caches like it.
// Other pixels pass through memory in boxes of the canvas (Boxes.h), moved by the calling thread whoever paints them
// (MovedBoxes.h). What is held at a time is bounded whatever the bitmaps' sizes, and each part of the source is read
// once for every box that sees it.
#pragma once

#include "kernel/rows/RowBands.h"
#include "kernel/sampling/MovedBoxes.h"
#include "kernel/sampling/Painter.h"
#include "kernel/system/Progress.h"

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

/// Paints the bands, or the pieces, that a thread takes.
int paint_bands(const Painting& painting, Painter& painter, Bands& bands) noexcept;
int paint_pieces(const Painting& painting, Painter& painter, MovedBoxes& moved, Bands& bands) noexcept;

/// Has all of it painted by what each thread does, where the calling thread moves the pixels.
template <class Paint> int paint_moved(MovedBoxes& moved, Progress& progress, Paint& paint) noexcept
{
    const int result = moved.open();
    return result == V_SUCCESS ? run_bands(moved.relay().bands(), progress, paint) : result;
}

/// How the canvas is cut up for the threads that the caller allows where pixels are memory.
BandPlan plan_canvas(const BITMAPHANDLE& made) noexcept;

/// Paints all of it by as many threads as that, with painters of their own: `with(act)` makes one and hands it to
/// `act(painter)`, whose result it returns, or why there is none.
template <class With> int paint_canvas(const Painting& painting, Progress& progress, const With& with) noexcept
{
    const auto alone = [&](Painter& painter) noexcept { return paint_canvas(painting, painter, progress); };
    const BandPlan plan = plan_canvas(painting.made);
    if (plan.threads == 1)
        return with(alone);
    if (is_in_memory(painting.source, &painting.made)) {
        auto work = [&](Bands& bands) noexcept {
            return with([&](Painter& painter) noexcept { return paint_bands(painting, painter, bands); });
        };
        return run_bands(plan, progress, work);
    }
    return with([&](Painter& first) noexcept {
        MovedBoxes moved(painting, first.margin());
        if (!moved.plan(plan.threads))
            return alone(first);
        auto work = [&](Bands& bands) noexcept {
            if (bands.is_caller())
                return paint_pieces(painting, first, moved, bands);
            return with([&](Painter& own) noexcept { return paint_pieces(painting, own, moved, bands); });
        };
        return paint_moved(moved, progress, work);
    });
}

/// Holds no more of the source at a time than this; what is held usually for 0. For tests, which have small pictures.
void limit_held(uint64_t bytes) noexcept;

} // namespace vk::sampling
