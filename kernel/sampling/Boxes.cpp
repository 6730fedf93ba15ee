#include "kernel/sampling/Boxes.h"

#include "kernel/rows/RowCol.h"

#include <algorithm>
#include <cmath>

namespace vk::sampling {

/// The source pixels that a box of the canvas looks at.
Box Boxes::looked_at(const Box& box) const noexcept
{
    const Seen seen = mapping_.seen(box);
    if (!(seen.left <= seen.right && seen.top <= seen.bottom))
        return {};
    // A position is never off by as much as a pixel.
    const int32_t margin = margin_ + 1;
    const auto within = [](double value, int32_t least, int32_t most) noexcept {
        return static_cast<int32_t>(std::clamp(value, double{1} * least, double{1} * most));
    };
    const Box& all = loader_.readable();
    return {within(std::floor(seen.left) - margin, all.left, all.right) / kAligned * kAligned,
            within(std::floor(seen.top) - margin, all.top, all.bottom),
            within(std::ceil(seen.right) + margin, all.left, all.right),
            within(std::ceil(seen.bottom) + margin, all.top, all.bottom)};
}

bool Boxes::fits(const Cut& cut, const CutLimits& limits) const noexcept
{
    const uint64_t canvas = static_cast<uint64_t>(cut.box.height()) * bytes_of(cut.box.width(), bits_);
    return canvas <= limits.canvas && held_bytes(cut.looked) <= limits.looked;
}

/// What reading costs: rows are stored as a whole, so a part of one costs more than its bytes.
uint64_t Boxes::cost(const Box& box) const noexcept
{
    const Box looked = looked_at(box);
    return looked.empty() ? 0
                          : static_cast<uint64_t>(looked.height()) *
                                (loader_.row_bytes(looked.width()) + loader_.row_bytes(loader_.width()) / 4);
}

/// Halves a box the cheaper way. False when it is too small for that.
bool Boxes::halve(const Box& box, Box& first, Box& second) const noexcept
{
    const int64_t unit = box.width() > kLongest ? kLongest : kAligned;
    const auto middle = static_cast<int32_t>((box.left + box.width() / 2) / unit * unit > box.left
                                                 ? (box.left + box.width() / 2) / unit * unit
                                                 : box.left + unit);
    const bool can_column = middle < box.right && box.width() > unit;
    const bool can_row = box.height() > 1;
    const int32_t row = box.top + static_cast<int32_t>(box.height() / 2);
    const Box by_row[2] = {{box.left, box.top, box.right, row}, {box.left, row, box.right, box.bottom}};
    const Box by_column[2] = {{box.left, box.top, middle, box.bottom}, {middle, box.top, box.right, box.bottom}};
    if (!can_column && !can_row)
        return false;
    const bool is_row =
        can_row && (!can_column || cost(by_row[0]) + cost(by_row[1]) <= cost(by_column[0]) + cost(by_column[1]));
    first = is_row ? by_row[0] : by_column[0];
    second = is_row ? by_row[1] : by_column[1];
    return true;
}

bool Boxes::next(const CutLimits& limits, Cut& cut) noexcept
{
    if (count_ == 0)
        return false;
    cut.box = pending_[--count_];
    for (;;) {
        cut.looked = limits.looked == kUnlimited ? Box{} : looked_at(cut.box);
        cut.fits = fits(cut, limits);
        Box first;
        Box second;
        if (cut.fits || !halve(cut.box, first, second))
            return true;
        cut.box = first;
        pending_[count_++] = second;
    }
}

int put_box(BITMAPHANDLE& made, const Box& box, const uint8_t* pixels) noexcept
{
    const size_t bytes = bytes_of(box.width(), made.BitsPerPixel);
    int result = V_SUCCESS;
    for (int32_t row = box.top; row < box.bottom && result == V_SUCCESS; ++row, pixels += bytes)
        result = code_of(put_row_col(made, pixels, row, box.left, bytes));
    return result;
}

} // namespace vk::sampling
