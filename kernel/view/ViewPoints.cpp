#include "kernel/view/ViewPoints.h"

#include <utility>

namespace vk {

namespace {

/// a - b - c; the coordinates are the caller's, of any size.
constexpr int32_t less(int32_t a, int32_t b, int32_t c = 0) noexcept
{
    return static_cast<int32_t>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b) - static_cast<uint32_t>(c));
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
