// Turning with interpolation between four pixels, or among sixteen. For each small box of the canvas the source pixels
// it looks at are laid out as numbers (Samples.h) with the fill around the image, so that weighting them tests nothing.
#pragma once

#include "kernel/rotate/Painter.h"
#include "kernel/rotate/Samples.h"
#include "kernel/rows/RowAccess.h"

namespace vk::rotate {

class FilterPainter final : public Painter {
public:
    FilterPainter(const Geometry& geometry, bool is_cubic) noexcept : geometry_(geometry), is_cubic_(is_cubic) {}

    /// Prepares for pixels of the bitmap's form. SUCCESS or ERROR_NO_MEMORY.
    int open(const BITMAPHANDLE& bitmap, const FillPixel& fill) noexcept;

    void paint(const Pixels& source, const Target& target) noexcept override;

private:
    template <class Value> void paint_box(const Pixels& source, const Target& target) noexcept;
    template <class Value> void lay_out(const Pixels& source, const Box& box) noexcept;
    template <class Value> void paint_run(const Run& run, const Box& box, int32_t left) noexcept;

    const Geometry& geometry_;
    const bool is_cubic_;
    Samples samples_;
    RowBuffer values_;
    RowBuffer raw_; ///< the same pixels as they are
};

} // namespace vk::rotate
