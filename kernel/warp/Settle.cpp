// From a caller's arguments to the one description of a warp.
#include "kernel/warp/Warp.h"

#include "kernel/geometry/Arithmetic.h"
#include "kernel/geometry/Matrix.h"
#include "kernel/warp/Grid.h"

#include <algorithm>
#include <cmath>

namespace vk {

namespace {

using warp::Warp;

bool is_convex(const V_POINTD (&corners)[4]) noexcept
{
    int clockwise = 0;
    int counter = 0;
    for (int i = 0; i < 4; ++i) {
        const double turn = geometry::winding(corners[i], corners[(i + 1) % 4], corners[(i + 2) % 4]);
        clockwise += turn > 0;
        counter += turn < 0;
    }
    return clockwise == 4 || counter == 4;
}

double side_of(const V_POINTD& a, const V_POINTD& b) noexcept
{
    return std::sqrt((b.x - a.x) * (b.x - a.x) + (b.y - a.y) * (b.y - a.y));
}

/// A dimension as given, or that of two sides; INT32_MAX when they are too long.
int32_t dimension_of(int32_t given, double side, double opposite) noexcept
{
    const double longer = geometry::rounded(std::max(side, opposite));
    return given ? given : static_cast<int32_t>(std::clamp(longer, 1.0, double{INT32_MAX}));
}

bool is_grid(const V_POINTD* points, int32_t columns, int32_t rows) noexcept
{
    if (columns < 2 || rows < 2)
        return false;
    const auto is_near = [](double value) noexcept { return std::fabs(value) <= warp::Grid::kFarPoint; };
    return std::all_of(points, points + static_cast<size_t>(columns) * static_cast<size_t>(rows),
                       [&](const V_POINTD& point) noexcept { return is_near(point.x) && is_near(point.y); });
}

} // namespace

double pixels_of(double extent) noexcept
{
    constexpr double kNothing = 1.0 / 256;
    return std::max(std::ceil(extent - kNothing), 1.0);
}

int settle_warp(Warp& warp, const BITMAPHANDLE& bitmap, const V_MATRIX& matrix, int32_t width, int32_t height) noexcept
{
    V_MATRIX map = matrix;
    V_MATRIX back;
    if (!geometry::is_finite(map) || !geometry::invert(back, map))
        return V_ERROR_INVALID_PARAMETER;
    double canvas_width = width;
    double canvas_height = height;
    if (width == 0 || height == 0) {
        V_RECTD box{0, 0, double{1} * bitmap.Width, double{1} * bitmap.Height};
        if (!geometry::transform_box(map, box))
            return V_ERROR_INVALID_WIDTH_HEIGHT;
        canvas_width = width ? width : pixels_of(box.right - box.left);
        canvas_height = height ? height : pixels_of(box.bottom - box.top);
        map = geometry::product(map, geometry::translation(width ? 0 : 0 - box.left, height ? 0 : 0 - box.top));
    }
    if (!warp::is_canvas(canvas_width, canvas_height, bitmap.BitsPerPixel))
        return V_ERROR_INVALID_WIDTH_HEIGHT;
    if (!geometry::is_finite(map) || !geometry::invert(back, map))
        return V_ERROR_INVALID_PARAMETER;
    // The side of the picture's middle is the one that is seen.
    if (geometry::weigh(map, bitmap.Width * 0.5, bitmap.Height * 0.5).weight < 0)
        for (auto& row : back.m)
            for (double& value : row)
                value = 0 - value;
    warp.back = back;
    warp.canvas = {static_cast<int32_t>(canvas_width), static_cast<int32_t>(canvas_height)};
    return V_SUCCESS;
}

int warp_by_matrix(BITMAPHANDLE& bitmap, const V_MATRIX& matrix, int32_t width, int32_t height, uint32_t flags,
                   COLORREF fill) noexcept
{
    Warp warp;
    warp.flags = flags;
    warp.fill = fill;
    const int result = settle_warp(warp, bitmap, matrix, width, height);
    return result == V_SUCCESS ? warp_bitmap(bitmap, warp) : result;
}

int warp_by_corners(BITMAPHANDLE& bitmap, const V_POINTD* points, int32_t width, int32_t height, uint32_t flags,
                    COLORREF fill) noexcept
{
    V_POINTD corners[4];
    std::copy_n(points, 4, corners);
    if (!is_convex(corners))
        return V_ERROR_INVALID_PARAMETER;
    width = dimension_of(width, side_of(corners[0], corners[1]), side_of(corners[3], corners[2]));
    height = dimension_of(height, side_of(corners[0], corners[3]), side_of(corners[1], corners[2]));
    const double right = width;
    const double bottom = height;
    V_MATRIX matrix;
    if (!geometry::from_corners(matrix, corners, {{0, 0}, {right, 0}, {right, bottom}, {0, bottom}}))
        return V_ERROR_INVALID_PARAMETER;
    return warp_by_matrix(bitmap, matrix, width, height, flags, fill);
}

int warp_by_grid(BITMAPHANDLE& bitmap, const warp::GridPoints& grid, int32_t width, int32_t height, uint32_t flags,
                 COLORREF fill) noexcept
{
    if (!is_grid(grid.points, grid.columns, grid.rows))
        return V_ERROR_INVALID_PARAMETER;
    Warp warp;
    warp.canvas = {width ? width : +bitmap.Width, height ? height : +bitmap.Height};
    warp.grid = &grid;
    warp.flags = flags;
    warp.fill = fill;
    return warp_bitmap(bitmap, warp);
}

} // namespace vk
