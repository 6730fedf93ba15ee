// Rectangles of stored pixels, cut to the bitmaps they are meant for.
//
// Callers may name any rectangle; what counts is the part of it that every bitmap concerned has. Sums are formed in 64
// bits, so nothing wraps. A bitmap whose rows run another way than the destination's takes part through the layout that
// brings its pixels there.
#pragma once

#include "Vkrecord.h"
#include "kernel/view/Relayout.h"

#include <cstdint>

namespace vk::combine {

/// Columns [left, right) of rows [top, bottom).
struct Area {
    int32_t left = 0;
    int32_t top = 0;
    int32_t right = 0;
    int32_t bottom = 0;

    constexpr bool empty() const noexcept { return left >= right || top >= bottom; }
    constexpr int32_t width() const noexcept { return right - left; }
    constexpr int32_t height() const noexcept { return bottom - top; }
    constexpr bool operator==(const Area&) const noexcept = default;
};

/// The smallest corner of a rectangle.
struct Corner {
    int32_t column = 0;
    int32_t row = 0;
};

/// All of a bitmap's pixels.
Area whole_area(const BITMAPHANDLE& bitmap) noexcept;

/// What a bitmap has of a rectangle; empty for one that is nowhere or has no size.
Area clip_area(const BITMAPHANDLE& bitmap, Corner corner, int32_t width, int32_t height) noexcept;
Area clip_area(const BITMAPHANDLE& bitmap, const RECT& rect) noexcept;

/// True when two areas share a pixel.
bool share_pixels(const Area& a, const Area& b) noexcept;

/// A rectangle that lies on several bitmaps at once, cut until each of them has all of it.
class Overlap {
public:
    Overlap(int32_t width, int32_t height) noexcept;

    /// Leaves what a bitmap has, where the rectangle's smallest stored corner is `corner`. `layout` brings the bitmap's
    /// pixels to the order of the others'.
    void cut(const BITMAPHANDLE& bitmap, Corner corner, Layout layout = {}) noexcept;

    bool empty() const noexcept;

    /// The stored pixels of a bitmap that was cut with the same arguments.
    Area area(Corner corner, Layout layout = {}) const noexcept;

private:
    struct Span {
        int64_t first;
        int64_t end;
    };
    struct Box {
        Span columns;
        Span rows;
    };
    Box turned(Layout layout) const noexcept;
    static Span reversed(Span span, int64_t length) noexcept;

    int64_t width_;
    int64_t height_;
    Box kept_;
};

} // namespace vk::combine
