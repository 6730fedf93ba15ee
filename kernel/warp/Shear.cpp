// Shears as warps. What is displayed is sheared, so the perspective says what that is on stored pixels: a mirror image
// leans the other way, and in the rotated perspectives displayed rows are stored columns.
#include "kernel/warp/Warp.h"

#include "Vkwarp.h"
#include "kernel/geometry/Arithmetic.h"
#include "kernel/geometry/Direction.h"
#include "kernel/system/Progress.h"
#include "kernel/view/ViewPerspective.h"

#include <algorithm>

namespace vk {

namespace {

/// The tangent with 30 bits behind the point, so that rows' positions are exact; what that is off moves the last of
/// 65,536 rows by less than 2^-14 pixels.
double tangent_of(int32_t angle) noexcept
{
    constexpr double kUnit = 0x1p30;
    const Direction direction = direction_of(angle_in_turn(angle));
    return geometry::rounded(direction.sine / direction.cosine * kUnit) / kUnit;
}

/// A shear of stored pixels with the canvas that it needs.
struct Shear {
    V_MATRIX matrix;
    double width;
    double height;
};

/// The canvas begins where what is displayed begins; what its last pixel has left over lies at the other end.
Shear stored_shear(const BITMAPHANDLE& bitmap, int32_t angle, bool is_vertical) noexcept
{
    const Layout layout = shown_layout(bitmap.ViewPerspective);
    const bool is_along_rows = is_vertical == layout.transpose;
    const double extent = is_along_rows ? bitmap.Width : bitmap.Height;
    const double across = is_along_rows ? bitmap.Height : bitmap.Width;
    // Upright lines lean to the right at the top, level ones go down to the right.
    const double tangent = is_vertical ? tangent_of(angle) : 0 - tangent_of(angle);
    const double slope = layout.flip != layout.mirror ? 0 - tangent : tangent;
    const double first = std::min(slope * across, 0.0);
    const double end = extent + std::max(slope * across, 0.0);
    const double canvas = pixels_of(end - first);
    const bool is_reversed = is_along_rows ? layout.mirror : layout.flip;
    const double shift = is_reversed ? canvas - end : 0 - first;
    if (is_along_rows)
        return {{{{1, 0, 0}, {slope, 1, 0}, {shift, 0, 1}}}, canvas, across};
    return {{{{1, slope, 0}, {0, 1, 0}, {0, shift, 1}}}, across, canvas};
}

} // namespace

int shear_bitmap(BITMAPHANDLE& bitmap, int32_t angle, uint32_t flags, COLORREF fill) noexcept
{
    if (angle == 0) {
        Progress progress(1);
        const int result = progress.begin();
        return result == V_SUCCESS ? progress.update(1) : result;
    }
    const Shear shear = stored_shear(bitmap, angle, flags & SHEAR_VERTICAL);
    if (!warp::is_canvas(shear.width, shear.height, bitmap.BitsPerPixel))
        return V_ERROR_INVALID_WIDTH_HEIGHT;
    return warp_by_matrix(bitmap, shear.matrix, static_cast<int32_t>(shear.width), static_cast<int32_t>(shear.height),
                          flags & SHEAR_LINEAR ? WARP_LINEAR : WARP_NEAREST, fill);
}

} // namespace vk
