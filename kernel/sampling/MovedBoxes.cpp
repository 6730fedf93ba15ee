#include "kernel/sampling/MovedBoxes.h"

#include "kernel/sampling/Walk.h"
#include "kernel/storage/Storage.h"

#include <algorithm>

namespace vk::sampling {

namespace {

/// Bytes of a piece of the canvas, if its rows are not longer.
constexpr uint64_t kPieceBytes = 1u << 20;
/// A window holds so much of the source: a part of it, so that there is something to paint while the next one is read,
/// but no less and no more than is worth reading in one go.
constexpr uint64_t kParts = 8;
constexpr uint64_t kLeastWindow = 1u << 20;
constexpr uint64_t kMostWindow = kHeldBytes / 2;

Box whole(const BITMAPHANDLE& bitmap) noexcept
{
    return {0, 0, bitmap.Width, bitmap.Height};
}

} // namespace

MovedBoxes::MovedBoxes(const Painting& painting, int32_t margin) noexcept
    : source_(painting.source), made_(painting.made), is_read_(!RowReader(painting.source).in_place()),
      is_written_(!RowWriter(painting.made).in_place()), told_(painting.source, painting.cells),
      packed_(painting.source, nullptr), boxes_(told_, painting.mapping, margin, painting.made.BitsPerPixel),
      limits_(limits()), relay_(*this)
{}

CutLimits MovedBoxes::limits() const noexcept
{
    CutLimits limits;
    if (is_written_)
        limits.canvas = kCanvasBytes;
    const uint64_t all = told_.row_bytes(told_.width()) * static_cast<uint64_t>(told_.height());
    // Where a part of a row takes as long as all of it, large boxes read less.
    if (is_read_)
        limits.looked =
            held_limit(has_whole_rows(source_) ? kMostWindow : std::clamp(all / kParts, kLeastWindow, kMostWindow));
    return limits;
}

int32_t MovedBoxes::rows_of(const Box& box) const noexcept
{
    const uint64_t row = std::max<uint64_t>(bytes_of(box.width(), made_.BitsPerPixel), 1);
    return static_cast<int32_t>(std::clamp<uint64_t>(kPieceBytes / row, 1, static_cast<uint32_t>(piece_rows_)));
}

bool MovedBoxes::plan(uint32_t threads) noexcept
{
    piece_rows_ = std::min({kBandRows, reported_rows(made_.Height), plan_bands(made_.Height, 1, threads).rows});
    int64_t pieces = 0;
    boxes_.begin(whole(made_));
    for (Cut cut; next_cut(cut);) {
        const int64_t rows = rows_of(cut.box);
        if (!cut.fits)
            return false;
        pieces += (cut.box.height() + rows - 1) / rows;
        window_bytes_ =
            std::max(window_bytes_, packed_.row_bytes(cut.looked.width()) * static_cast<uint64_t>(cut.looked.height()));
        canvas_bytes_ =
            std::max(canvas_bytes_, bytes_of(cut.box.width(), made_.BitsPerPixel) * static_cast<uint64_t>(rows));
    }
    if (pieces < 2 || pieces > INT32_MAX)
        return false;
    relay_.plan(static_cast<int32_t>(pieces), threads);
    return true;
}

int MovedBoxes::open() noexcept
{
    constexpr uint64_t kLine = 64;
    window_bytes_ = (window_bytes_ + kSlack + kLine - 1) / kLine * kLine;
    int result = is_read_ ? windows_.allocate_for(source_, kWindows * window_bytes_) : V_SUCCESS;
    if (result == V_SUCCESS && is_written_ &&
        !canvases_.allocate(canvas_bytes_ * static_cast<uint64_t>(relay_.slots())))
        result = V_ERROR_NO_MEMORY;
    boxes_.begin(whole(made_));
    return result;
}

/// Reads what the next box looks at into the window that has been used longer.
int MovedBoxes::read_next() noexcept
{
    static_cast<void>(next_cut(cut_)); // there are as many as were counted
    row_ = cut_.box.top;
    if (!is_read_)
        return V_SUCCESS;
    uint8_t* const to = windows_.data() + static_cast<uint64_t>(windows_read_++ % kWindows) * window_bytes_;
    window_ = {to, packed_.row_bytes(cut_.looked.width()), cut_.looked, kSlack};
    return packed_.load(cut_.looked, to);
}

int MovedBoxes::bring(int64_t number) noexcept
{
    const int result = row_ < cut_.box.bottom ? V_SUCCESS : read_next();
    const Box& box = cut_.box;
    const int32_t end = row_ + std::min(rows_of(box), box.bottom - row_);
    uint8_t* const canvas = is_written_ ? canvases_.data() + relay_.slot(number) * canvas_bytes_ : nullptr;
    pieces_[relay_.slot(number)] = {{box.left, row_, box.right, end}, window_, canvas};
    row_ = end;
    if (is_read_)
        last_behind_[(windows_read_ - 1) % kWindows] = number + 1;
    return result;
}

int MovedBoxes::carry(int64_t number) noexcept
{
    const Piece& made = piece(number);
    return is_written_ ? put_box(made_, made.box, made.canvas) : V_SUCCESS;
}

/// A window is read into when nobody sees it any more.
bool MovedBoxes::has_room(int64_t carried) const noexcept
{
    return !is_read_ || row_ < cut_.box.bottom || carried >= last_behind_[windows_read_ % kWindows];
}

int64_t MovedBoxes::steps(int64_t number) const noexcept
{
    const Box& box = piece(number).box;
    return box.width() * box.height();
}

} // namespace vk::sampling
