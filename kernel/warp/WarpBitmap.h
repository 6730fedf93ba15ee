// Warping whole bitmaps: where the pixels of a canvas come from, and the rule that a bitmap is replaced on success
// only. How pixels are painted stands in Walk.h and what it names.
#pragma once

#include "Vkgeometry.h"
#include "Vkrecord.h"
#include "Vkwarp.h"
#include "kernel/sampling/Mapping.h"
#include "kernel/system/Progress.h"

namespace vk {

namespace warp {

using namespace sampling;

/// Source positions of points that are evenly spread over the canvas.
struct GridPoints {
    const V_POINTD* points;
    int32_t columns;
    int32_t rows;
};

/// What is done to a bitmap and to what lies over it.
struct Warp {
    Extent canvas;
    V_MATRIX back{};                  ///< canvas to source
    const GridPoints* grid = nullptr; ///< goes before the matrix
    uint32_t flags = 0;               ///< WARP_ bits
    COLORREF fill = 0;

    /// Several pixels make one.
    bool is_mixed() const noexcept { return flags & (WARP_LINEAR | WARP_CUBIC | WARP_AREA); }
};

/// A canvas that a record can describe.
bool is_canvas(double width, double height, int32_t bits) noexcept;

/// Paints an accessed bitmap of the canvas's size from an accessed one.
int paint_bitmap(BITMAPHANDLE& source, BITMAPHANDLE& made, const Warp& warp, Progress& progress) noexcept;

/// Replaces a bitmap, whose record and flags are checked, by itself warped. SUCCESS or a code, and the bitmap as it
/// was.
int warp_bitmap(BITMAPHANDLE& bitmap, const Warp& warp) noexcept;

/// Warps what lies over a bitmap that is about to be replaced by `made`: the overlays, of which `made` has copies as
/// they were, and the region, which `bitmap` keeps.
int warp_attachments(BITMAPHANDLE& bitmap, BITMAPHANDLE& made, const Warp& warp) noexcept;

} // namespace warp

} // namespace vk
