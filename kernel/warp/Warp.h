// Warps of bitmaps whose records, pointers and dimensions are checked. Each returns SUCCESS, or a code and leaves the
// bitmap as it was.
#pragma once

#include "Vkgeometry.h"
#include "Vkrecord.h"
#include "kernel/warp/WarpBitmap.h"

#include <cstdint>

namespace vk {

/// Pixels of a canvas that a box's side takes; what covers less than 1/256 of a pixel is rounding.
double pixels_of(double extent) noexcept;

/// Completes a warp by the canvas, and by the matrix that takes canvas pixels to source pixels: from the matrix that
/// takes source pixels to canvas pixels and the canvas's size, of which a dimension of 0 becomes that of the box around
/// the warped picture. SUCCESS, ERROR_INVALID_PARAMETER without a way back, ERROR_INVALID_WIDTH_HEIGHT for a canvas
/// without end or too large.
int settle_warp(warp::Warp& warp, const BITMAPHANDLE& bitmap, const V_MATRIX& matrix, int32_t width,
                int32_t height) noexcept;

/// V_WarpBitmap, V_WarpBitmapCorners and V_WarpBitmapGrid.
int warp_by_matrix(BITMAPHANDLE& bitmap, const V_MATRIX& matrix, int32_t width, int32_t height, uint32_t flags,
                   COLORREF fill) noexcept;
int warp_by_corners(BITMAPHANDLE& bitmap, const V_POINTD* points, int32_t width, int32_t height, uint32_t flags,
                    COLORREF fill) noexcept;
int warp_by_grid(BITMAPHANDLE& bitmap, const warp::GridPoints& grid, int32_t width, int32_t height, uint32_t flags,
                 COLORREF fill) noexcept;

/// V_ShearBitmap, by an angle of less than a quarter turn either way.
int shear_bitmap(BITMAPHANDLE& bitmap, int32_t angle, uint32_t flags, COLORREF fill) noexcept;

} // namespace vk
