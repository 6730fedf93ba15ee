#include "kernel/combine/Clip.h"

#include <algorithm>
#include <utility>

namespace vk::combine {

namespace {

int32_t within(int64_t value, int32_t most) noexcept
{
    return static_cast<int32_t>(std::clamp<int64_t>(value, 0, std::max(most, 0)));
}

} // namespace

Area whole_area(const BITMAPHANDLE& bitmap) noexcept
{
    return {0, 0, bitmap.Width, bitmap.Height};
}

Area clip_area(const BITMAPHANDLE& bitmap, Corner corner, int32_t width, int32_t height) noexcept
{
    const Area area{within(corner.column, bitmap.Width), within(corner.row, bitmap.Height),
                    within(int64_t{corner.column} + width, bitmap.Width),
                    within(int64_t{corner.row} + height, bitmap.Height)};
    return area.empty() ? Area{} : area;
}

Area clip_area(const BITMAPHANDLE& bitmap, const RECT& rect) noexcept
{
    const Area area{within(rect.left, bitmap.Width), within(rect.top, bitmap.Height), within(rect.right, bitmap.Width),
                    within(rect.bottom, bitmap.Height)};
    return area.empty() ? Area{} : area;
}

bool share_pixels(const Area& a, const Area& b) noexcept
{
    return std::max(a.left, b.left) < std::min(a.right, b.right) &&
           std::max(a.top, b.top) < std::min(a.bottom, b.bottom);
}

Overlap::Overlap(int32_t width, int32_t height) noexcept
    : width_(std::max(width, 0)), height_(std::max(height, 0)), kept_{{0, width_}, {0, height_}}
{}

Overlap::Span Overlap::reversed(Span span, int64_t length) noexcept
{
    return {length - span.end, length - span.first};
}

/// The part that is kept, as the bitmap of a layout counts it.
Overlap::Box Overlap::turned(Layout layout) const noexcept
{
    Box box = kept_;
    int64_t width = width_;
    int64_t height = height_;
    if (layout.transpose) {
        std::swap(box.columns, box.rows);
        std::swap(width, height);
    }
    if (layout.mirror)
        box.columns = reversed(box.columns, width);
    if (layout.flip)
        box.rows = reversed(box.rows, height);
    return box;
}

void Overlap::cut(const BITMAPHANDLE& bitmap, Corner corner, Layout layout) noexcept
{
    const auto clip = [](Span span, int64_t start, int64_t size) noexcept {
        return Span{std::max(span.first, -start), std::min(span.end, size - start)};
    };
    Box box = turned(layout);
    box.columns = clip(box.columns, corner.column, bitmap.Width);
    box.rows = clip(box.rows, corner.row, bitmap.Height);
    // Back the same way: reversing twice changes nothing.
    if (layout.mirror)
        box.columns = reversed(box.columns, layout.transpose ? height_ : width_);
    if (layout.flip)
        box.rows = reversed(box.rows, layout.transpose ? width_ : height_);
    if (layout.transpose)
        std::swap(box.columns, box.rows);
    kept_ = box;
}

bool Overlap::empty() const noexcept
{
    return kept_.columns.first >= kept_.columns.end || kept_.rows.first >= kept_.rows.end;
}

Area Overlap::area(Corner corner, Layout layout) const noexcept
{
    if (empty())
        return {};
    const Box box = turned(layout);
    return {static_cast<int32_t>(corner.column + box.columns.first), static_cast<int32_t>(corner.row + box.rows.first),
            static_cast<int32_t>(corner.column + box.columns.end), static_cast<int32_t>(corner.row + box.rows.end)};
}

} // namespace vk::combine
