#include "kernel/area/Shapes.h"

#include <algorithm>
#include <cmath>

namespace vk {

namespace {

__extension__ using Wide = unsigned __int128;

/// The largest number whose square is no more than `value`.
uint64_t square_root(uint64_t value) noexcept
{
    auto root = static_cast<uint64_t>(std::sqrt(static_cast<double>(value)));
    root = std::min<uint64_t>(root, UINT32_MAX);
    while (root * root > value)
        --root;
    while (root < UINT32_MAX && (root + 1) * (root + 1) <= value)
        ++root;
    return root;
}

Wide square(int64_t value) noexcept
{
    const auto size = static_cast<Wide>(value < 0 ? -value : value);
    return size * size;
}

/// Pixels to the left of an ellipse of `width` x `height` in its row `row`.
///
/// With distances from the middle in halves of a pixel, one at dx, dy is inside when
/// dx^2 / width^2 + dy^2 / height^2 <= 1.
int64_t ellipse_inset(int64_t width, int64_t height, int64_t row) noexcept
{
    const Wide down = square(height);
    const Wide rest = down - square(2 * row + 1 - height);
    const auto most = static_cast<uint64_t>(square(width) * rest / down);
    // The leftmost pixel k with width - 1 - 2 k <= root.
    const auto root = static_cast<int64_t>(square_root(most));
    return width - 1 > root ? (width - root) / 2 : 0;
}

int64_t width_of(const AreaBox& box) noexcept
{
    return int64_t{box.right} - box.left;
}

int64_t height_of(const AreaBox& box) noexcept
{
    return int64_t{box.bottom} - box.top;
}

/// A row's run, given how far it stays away from the box's sides, cut to the frame.
void add_inset(const AreaBox& box, const AreaBox& frame, int32_t top, int32_t bottom, int64_t inset,
               AreaBuilder& built) noexcept
{
    const auto first = static_cast<int32_t>(std::max<int64_t>(box.left + inset, frame.left));
    const auto end = static_cast<int32_t>(std::min<int64_t>(box.right - inset, frame.right));
    built.add_run(top, bottom, first, end);
}

} // namespace

bool build_rectangle(const AreaBox& box, const AreaBox& frame, AreaBuilder& built) noexcept
{
    built.clear();
    const AreaBox seen = intersection(box, frame);
    if (!seen.empty())
        built.add_run(seen.top, seen.bottom, seen.left, seen.right);
    return built.good();
}

bool build_ellipse(const AreaBox& box, const AreaBox& frame, AreaBuilder& built) noexcept
{
    return build_round_rectangle(box, width_of(box), height_of(box), frame, built);
}

bool build_round_rectangle(const AreaBox& box, int64_t width, int64_t height, const AreaBox& frame,
                           AreaBuilder& built) noexcept
{
    built.clear();
    const AreaBox seen = intersection(box, frame);
    if (seen.empty())
        return true;
    width = std::min(width, width_of(box));
    height = std::min(height, height_of(box));
    if (width == 0 || height == 0)
        return build_rectangle(box, frame, built);
    // Rows of the upper corners, of the straight sides, and of the lower corners.
    const int64_t corner = (height + 1) / 2;
    const auto upper_end = static_cast<int32_t>(box.top + corner);
    const auto lower = static_cast<int32_t>(std::max<int64_t>(box.bottom - corner, upper_end));
    for (int32_t y = seen.top; y < std::min(upper_end, seen.bottom); ++y)
        add_inset(box, frame, y, y + 1, ellipse_inset(width, height, int64_t{y} - box.top), built);
    const int32_t straight = std::max(upper_end, seen.top);
    if (straight < std::min(lower, seen.bottom))
        add_inset(box, frame, straight, std::min(lower, seen.bottom), 0, built);
    for (int32_t y = std::max(lower, seen.top); y < seen.bottom; ++y)
        add_inset(box, frame, y, y + 1, ellipse_inset(width, height, int64_t{box.bottom} - 1 - y), built);
    return built.good();
}

} // namespace vk
