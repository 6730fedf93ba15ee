#include "kernel/view/ViewPoints.h"

#include "Vkview.h"
#include "kernel/system/Checks.h"

#include <utility>

namespace vk {

namespace {

/// a - b - c; the coordinates are the caller's, of any size.
constexpr int32_t less(int32_t a, int32_t b, int32_t c = 0) noexcept
{
    return static_cast<int32_t>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b) - static_cast<uint32_t>(c));
}

/// The sizes that mapping towards a bitmap counts with. The second exchange is for two perspectives alone.
struct Extent {
    int32_t width;
    int32_t height;
};

Extent extent_towards(const BITMAPHANDLE& bitmap, int32_t perspective) noexcept
{
    Extent extent{bitmap.Width, bitmap.Height};
    if (is_rotated_perspective(bitmap.ViewPerspective))
        std::swap(extent.width, extent.height);
    if (perspective == 6 || perspective == 8)
        std::swap(extent.width, extent.height);
    return extent;
}

/// SUCCESS with a change to make, or the result of having none: for equal perspectives, or for none at all.
struct Mapping {
    int result;
    bool is_needed;
    PerspectiveChange change;
};

Mapping mapping(int32_t from, int32_t to) noexcept
{
    if (from == to)
        return {V_SUCCESS, false, {}};
    if (!is_perspective(from) || !is_perspective(to))
        return {V_ERROR_INVALID_PARAMETER, false, {}};
    return {V_SUCCESS, true, perspective_change(from, to)};
}

int check_with(const BITMAPHANDLE* bitmap, bool has_result) noexcept
{
    const int result = check_record(bitmap);
    return result == V_SUCCESS && !has_result ? V_ERROR_INVALID_PARAMETER : result;
}

} // namespace

void change_point(PerspectiveChange change, int32_t width, int32_t height, int32_t& x, int32_t& y) noexcept
{
    if (change.flip)
        y = less(height, y, 1);
    const int32_t old_x = x;
    const int32_t old_y = y;
    if (change.angle == 90) {
        x = less(height, old_y, 1);
        y = old_x;
    } else if (change.angle == 180) {
        x = less(width, old_x, 1);
        y = less(height, old_y, 1);
    } else if (change.angle == 270) {
        x = old_y;
        y = less(width, old_x, 1);
    }
}

void change_rect(PerspectiveChange change, int32_t width, int32_t height, RECT& rect) noexcept
{
    auto left = static_cast<int32_t>(rect.left);
    auto top = static_cast<int32_t>(rect.top);
    auto right = static_cast<int32_t>(rect.right);
    auto bottom = static_cast<int32_t>(rect.bottom);
    if (change.flip)
        top = less(height, std::exchange(bottom, less(height, top)));
    if (change.angle == 90)
        rect = {less(height, bottom), left, less(height, top), right};
    else if (change.angle == 180)
        rect = {less(width, right), less(height, bottom), less(width, left), less(height, top)};
    else if (change.angle == 270)
        rect = {top, less(width, right), bottom, less(width, left)};
    else
        rect = {left, top, right, bottom};
}

} // namespace vk

using namespace vk;

int V_ChangeRectViewPerspective(int32_t nFrom, int32_t nWidth, int32_t nHeight, int32_t nTo, RECT* pRect) noexcept
{
    if (!pRect || !is_perspective(nFrom) || !is_perspective(nTo))
        return V_ERROR_INVALID_PARAMETER;
    change_rect(perspective_change(nFrom, nTo), nWidth, nHeight, *pRect);
    return V_SUCCESS;
}

int V_PointFromBitmap(BITMAPHANDLE* pBitmap, int32_t nViewPerspective, int32_t* px, int32_t* py) noexcept
{
    const int result = check_record(pBitmap);
    if (result != V_SUCCESS)
        return result;
    const Mapping way = mapping(pBitmap->ViewPerspective, nViewPerspective);
    if (!way.is_needed)
        return way.result;
    if (!px || !py)
        return V_ERROR_INVALID_PARAMETER;
    change_point(way.change, pBitmap->Width, pBitmap->Height, *px, *py);
    return V_SUCCESS;
}

int V_PointToBitmap(BITMAPHANDLE* pBitmap, int32_t nViewPerspective, int32_t* px, int32_t* py) noexcept
{
    const int result = check_with(pBitmap, px && py);
    if (result != V_SUCCESS)
        return result;
    const Mapping way = mapping(nViewPerspective, pBitmap->ViewPerspective);
    if (!way.is_needed)
        return way.result;
    const Extent extent = extent_towards(*pBitmap, nViewPerspective);
    change_point(way.change, extent.width, extent.height, *px, *py);
    return V_SUCCESS;
}

int V_RectFromBitmap(BITMAPHANDLE* pBitmap, int32_t nViewPerspective, RECT* pRect) noexcept
{
    const int result = check_with(pBitmap, pRect != nullptr);
    if (result != V_SUCCESS)
        return result;
    const Mapping way = mapping(pBitmap->ViewPerspective, nViewPerspective);
    if (way.is_needed)
        change_rect(way.change, pBitmap->Width, pBitmap->Height, *pRect);
    return way.result;
}

int V_RectToBitmap(BITMAPHANDLE* pBitmap, int32_t nViewPerspective, RECT* pRect) noexcept
{
    const int result = check_with(pBitmap, pRect != nullptr);
    if (result != V_SUCCESS)
        return result;
    const Mapping way = mapping(nViewPerspective, pBitmap->ViewPerspective);
    const Extent extent = extent_towards(*pBitmap, nViewPerspective);
    if (way.is_needed)
        change_rect(way.change, extent.width, extent.height, *pRect);
    return way.result;
}
