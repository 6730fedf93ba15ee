#include "kernel/region/RegionChange.h"

#include "Vkbitmap.h"
#include "kernel/area/Bits.h"
#include "kernel/area/Combine.h"
#include "kernel/area/Connected.h"
#include "kernel/area/Polygon.h"
#include "kernel/area/Shapes.h"
#include "kernel/bitmap/Alloc.h"
#include "kernel/bitmap/Duplicate.h"
#include "kernel/bitmap/Record.h"
#include "kernel/bitmap/Region.h"
#include "kernel/colorres/GrayScale.h"
#include "kernel/pixel/Pixel.h"
#include "kernel/region/PixelArea.h"
#include "kernel/rows/Locks.h"
#include "kernel/rows/RowAccess.h"
#include "kernel/rows/RowCol.h"
#include "kernel/system/Checks.h"
#include "kernel/view/ViewPerspective.h"

#include <algorithm>
#include <cmath>

namespace vk {

namespace {

constexpr uint32_t kIndexForm = 0x01;
constexpr uint32_t kGrayForm = 0x04;

/// Sets the region to a shape, whatever it was.
bool sets_region(const BITMAPHANDLE& bitmap, uint32_t mode) noexcept
{
    return mode == REGION_SET || (!has_area(bitmap) && mode != REGION_ANDNOT);
}

/// What a mode other than REGION_SET does to the region and what comes to it.
AreaOp op_of(uint32_t mode) noexcept
{
    constexpr AreaOp kOps[] = {AreaOp::second_only, AreaOp::both, AreaOp::either, AreaOp::one, AreaOp::first_only};
    return kOps[mode];
}

/// Builds an area of one bitmap's pixels as an area of those pixels of another that lie over them.
int turn_area(const BITMAPHANDLE& from, const Area& area, const BITMAPHANDLE& to, AreaBuilder& built) noexcept
{
    const Layout layout = perspective_layout(from.ViewPerspective, to.ViewPerspective);
    AreaBuilder cut;
    AreaBuilder turned;
    if (!cut_area(area, frame_of(from), cut) || !lay_out_area(cut.area(), layout, from.Width, from.Height, turned))
        return V_ERROR_NO_MEMORY;
    return cut_area(turned.area(), frame_of(to), built) ? V_SUCCESS : V_ERROR_NO_MEMORY;
}

RGBQUAD quad_of(COLORREF color) noexcept
{
    const auto gray = static_cast<uint8_t>(color >> 8);
    if (color >> 24 == kGrayForm)
        return {gray, gray, gray, 0};
    return {static_cast<uint8_t>(color >> 16), gray, static_cast<uint8_t>(color), 0};
}

/// The range between two colours; false for what makes none.
bool make_range(const BITMAPHANDLE& bitmap, COLORREF lower, COLORREF upper, ColorRange* range) noexcept
{
    range->is_index = lower >> 24 == kIndexForm;
    if (range->is_index != (upper >> 24 == kIndexForm) || (range->is_index && bitmap.BitsPerPixel > 8))
        return false;
    range->lower = quad_of(lower);
    range->upper = quad_of(upper);
    range->first = lower & 0xFFFF;
    range->last = upper & 0xFFFF;
    return true;
}

/// The colour of a pixel; 32-bit gray, which V_GetPixelColor does not read, included. SUCCESS or a code.
int read_color(BITMAPHANDLE& bitmap, int32_t row, int32_t column, RGBQUAD* color) noexcept
{
    const BitmapAccess access(bitmap);
    if (access.result() != V_SUCCESS)
        return access.result();
    const bool is_gray32 = bitmap.BitsPerPixel == 32 && bitmap.Order == COLORORDER_GRAY;
    if (!is_gray32) {
        const COLORREF value = pixel_color(bitmap, row, column);
        *color = quad_of(value);
        return value == kNoColor ? V_ERROR_NO_MEMORY : V_SUCCESS;
    }
    uint32_t sample = 0;
    const int result = code_of(get_row_col(bitmap, &sample, row, column, sizeof sample));
    const uint8_t level = gray_range_of(bitmap).level(sample);
    *color = {level, level, level, 0};
    return result;
}

uint8_t less(uint8_t value, uint8_t by) noexcept
{
    return static_cast<uint8_t>(value > by ? value - by : 0);
}

uint8_t more(uint8_t value, uint8_t by) noexcept
{
    return static_cast<uint8_t>(std::min(value + by, 255));
}

/// Nobody is called, who might change a region, while the rows of an accessed bitmap are read.
bool is_read_quietly(BITMAPHANDLE& bitmap) noexcept
{
    return RowReader(bitmap).in_place();
}

/// Combines the region with rows of pixels that lie over it; `read(to)` passes on a bit for each. Combined on the way
/// where nothing can happen to the region meanwhile.
template <class Read> int combine_rows(BITMAPHANDLE& bitmap, BITMAPHANDLE& source, uint32_t mode, Read read) noexcept
{
    BitmapAccess access(source);
    if (access.result() != V_SUCCESS)
        return access.result();
    AreaBuilder built(AreaHome::block);
    AreaBuilder all;
    const bool is_direct = !sets_region(bitmap, mode) && is_read_quietly(source);
    int result = V_SUCCESS;
    if (!is_direct)
        result = read(BitsToArea(built));
    else if (has_area(bitmap))
        result = read(BitsToArea(area_of(bitmap), op_of(mode), built));
    else if (build_rectangle(frame_of(bitmap), frame_of(bitmap), all))
        result = read(BitsToArea(all.area(), op_of(mode), built));
    else
        result = V_ERROR_NO_MEMORY;
    const int released = access.release();
    if (result == V_SUCCESS)
        result = released;
    return result == V_SUCCESS ? combine_region(bitmap, built, is_direct ? REGION_SET : mode) : result;
}

int fill_mask(BITMAPHANDLE& mask, const Area& area) noexcept
{
    BitmapAccess access(mask);
    const int result = access.result() == V_SUCCESS ? draw_area(area, mask) : access.result();
    const int released = access.release();
    return result == V_SUCCESS ? released : result;
}

} // namespace

int combine_region(BITMAPHANDLE& bitmap, AreaBuilder& shape, uint32_t mode) noexcept
{
    if (sets_region(bitmap, mode))
        return set_area(bitmap, shape);
    const Counted region(bitmap);
    AreaBuilder built(AreaHome::block);
    const bool is_good = region.is_good() && combine_areas(region.area(), shape.area(), op_of(mode), built);
    return is_good ? set_area(bitmap, built) : V_ERROR_NO_MEMORY;
}

int invert_region(BITMAPHANDLE& bitmap) noexcept
{
    const Counted region(bitmap);
    AreaBuilder built(AreaHome::block);
    const bool is_good = region.is_good() && invert_area(region.area(), frame_of(bitmap), built);
    return is_good ? set_area(bitmap, built) : V_ERROR_NO_MEMORY;
}

bool can_turn(const BITMAPHANDLE& from, const BITMAPHANDLE& to) noexcept
{
    const int32_t a = from.ViewPerspective;
    const int32_t b = to.ViewPerspective;
    return a == b || (is_perspective(a) && is_perspective(b));
}

int transfer_region(BITMAPHANDLE& to, const BITMAPHANDLE& from) noexcept
{
    const AreaBox bounds = area_of(from).bounds();
    if (from.ViewPerspective == to.ViewPerspective && bounds.right <= std::min(+from.Width, +to.Width) &&
        bounds.bottom <= std::min(+from.Height, +to.Height))
        return set_area(to, area_of(from));
    AreaBuilder built(AreaHome::block);
    const int result = turn_area(from, area_of(from), to, built);
    return result == V_SUCCESS ? set_area(to, built) : result;
}

int combine_magic_wand(BITMAPHANDLE& bitmap, int32_t column, int32_t row, COLORREF lower, COLORREF upper,
                       uint32_t mode) noexcept
{
    const RGBQUAD below = quad_of(lower);
    const RGBQUAD above = quad_of(upper);
    RGBQUAD color = {};
    int result = read_color(bitmap, row, column, &color);
    if (result != V_SUCCESS)
        return result;
    ColorRange range;
    range.lower = {less(color.rgbBlue, below.rgbBlue), less(color.rgbGreen, below.rgbGreen),
                   less(color.rgbRed, below.rgbRed), 0};
    range.upper = {more(color.rgbBlue, above.rgbBlue), more(color.rgbGreen, above.rgbGreen),
                   more(color.rgbRed, above.rgbRed), 0};
    AreaBuilder alike;
    AreaBuilder connected(AreaHome::block);
    result = area_of_colors(bitmap, range, BitsToArea(alike));
    if (result != V_SUCCESS)
        return result;
    return build_connected(alike.area(), column, row, connected) ? combine_region(bitmap, connected, mode)
                                                                 : V_ERROR_NO_MEMORY;
}

int combine_mask(BITMAPHANDLE& bitmap, BITMAPHANDLE& mask, uint32_t mode) noexcept
{
    const bool is_same =
        bitmap.ViewPerspective == mask.ViewPerspective && bitmap.Width == mask.Width && bitmap.Height == mask.Height;
    if (is_same)
        return combine_rows(bitmap, mask, mode, [&](BitsToArea to) noexcept { return area_of_nonzero(mask, to); });
    AreaBuilder nonzero;
    AreaBuilder shape(AreaHome::block);
    int result = area_of_nonzero(mask, BitsToArea(nonzero));
    if (result == V_SUCCESS)
        result = turn_area(mask, nonzero.area(), bitmap, shape);
    return result == V_SUCCESS ? combine_region(bitmap, shape, mode) : result;
}

int combine_colors(BITMAPHANDLE& bitmap, COLORREF lower, COLORREF upper, uint32_t mode) noexcept
{
    ColorRange range;
    if (!make_range(bitmap, lower, upper, &range))
        return V_ERROR_INVALID_PARAMETER;
    return combine_rows(bitmap, bitmap, mode,
                        [&](BitsToArea to) noexcept { return area_of_colors(bitmap, range, to); });
}

int make_mask(BITMAPHANDLE& mask, BITMAPHANDLE& source, uint32_t struct_size) noexcept
{
    constexpr RGBQUAD kColors[] = {{0, 0, 0, 0}, {255, 255, 255, 0}};
    const Counted region(source);
    int result = region.is_good() ? V_SUCCESS : V_ERROR_NO_MEMORY;
    const Shape shape{source.Width, source.Height, 1, COLORORDER_RGB, 0};
    if (result == V_SUCCESS)
        result = make_like(mask, source, struct_size, shape, DUPFLAG_ANIMATION);
    if (result != V_SUCCESS)
        return result;
    mask.Flags &= ~BITMAPFLAG_TRANSPARENCY;
    result = give_palette(mask, kColors, 2);
    if (result == V_SUCCESS)
        result = fill_mask(mask, region.area());
    if (result != V_SUCCESS)
        free_bitmap(mask);
    return result;
}

} // namespace vk
