#include "kernel/rotate/TurnPixels.h"

#include "kernel/format/RowMath.h"
#include "kernel/rows/RowAccess.h"
#include "kernel/rows/RowCol.h"
#include "kernel/threading/Bands.h"

#include <algorithm>
#include <cmath>

namespace vk::rotate {

namespace {

/// Side of a box of the canvas whose source pixels must be moved into memory.
constexpr int32_t kBoxSide = 512;
/// Rows of a box of the canvas when they need not: near ones see the same source rows.
constexpr int32_t kBandRows = 64;
/// Rows of the canvas that are written from a buffer.
constexpr uint64_t kBandBytes = 256 * 1024;
/// Pixels that a byte's worth of packed pixels may be.
constexpr int32_t kAligned = 8;

size_t bytes_of(int32_t pixels, int32_t bits) noexcept
{
    return static_cast<size_t>(packed_bytes(static_cast<uint64_t>(pixels), bits));
}

/// The source pixels for boxes of the canvas: the bitmap's own memory, or a part of it read for each box.
class Window {
public:
    Window(BITMAPHANDLE& source, const Geometry& geometry) noexcept
        : source_(source), geometry_(geometry), reader_(source)
    {}

    bool in_place() const noexcept { return reader_.in_place(); }

    /// For boxes of no more than `side` pixels square.
    int open(int32_t side) noexcept
    {
        const Box all{0, 0, geometry_.width, geometry_.height};
        if (in_place()) {
            pixels_ = {nullptr, source_.BytesPerLine, all};
            return reader_.read(0, 1, &pixels_.data);
        }
        const double turned = side * (std::fabs(geometry_.cosine) + std::fabs(geometry_.sine));
        const auto most = static_cast<int32_t>(turned) + 2 * Painter::kMargin + 2 * kAligned + 2;
        const int32_t width = std::min(most, geometry_.width);
        stride_ = bytes_of(width, source_.BitsPerPixel) + kSlack;
        rows_ = std::min(most, geometry_.height);
        return buffer_.allocate_for(source_, stride_ * static_cast<uint32_t>(rows_));
    }

    /// Brings what a box of the canvas looks at.
    int load(const Box& target) noexcept
    {
        if (in_place())
            return V_SUCCESS;
        Box box = source_box(geometry_, target, Painter::kMargin);
        box.left = std::max(box.left, 0) / kAligned * kAligned;
        box.top = std::max(box.top, 0);
        box.right = std::min(box.right, geometry_.width);
        box.bottom = std::min(box.bottom, geometry_.height);
        pixels_ = {buffer_.data(), stride_, box};
        const size_t bytes = box.empty() ? 0 : bytes_of(box.right - box.left, source_.BitsPerPixel);
        int result = V_SUCCESS;
        for (int32_t row = box.top; row < box.bottom && bytes != 0 && result == V_SUCCESS; ++row) {
            uint8_t* const to = buffer_.data() + stride_ * static_cast<uint32_t>(row - box.top);
            result = code_of(get_row_col(source_, to, row, box.left, bytes));
        }
        return result;
    }

    const Pixels& pixels() const noexcept { return pixels_; }

private:
    static constexpr size_t kSlack = 8;

    BITMAPHANDLE& source_;
    const Geometry& geometry_;
    RowReader reader_;
    RowBuffer buffer_;
    size_t stride_ = 0;
    int32_t rows_ = 0;
    Pixels pixels_;
};

/// The canvas: the bitmap's own memory, or a buffer that is written box by box.
class Canvas {
public:
    explicit Canvas(BITMAPHANDLE& made) noexcept : made_(made), writer_(made) {}

    bool in_place() const noexcept { return writer_.in_place(); }

    /// For boxes of no more than so many pixels.
    int open(int32_t width, int32_t height) noexcept
    {
        const bool is_whole = width >= made_.Width;
        stride_ = in_place() || is_whole ? made_.BytesPerLine : bytes_of(width, made_.BitsPerPixel);
        return in_place() ? V_SUCCESS : buffer_.allocate_for(made_, stride_ * static_cast<uint32_t>(height));
    }

    Target target(const Box& box) const noexcept
    {
        uint8_t* const place =
            in_place() ? writer_.place(box.top) + bytes_of(box.left, made_.BitsPerPixel) : buffer_.data();
        return {place, stride_, box};
    }

    int store(const Box& box) noexcept
    {
        if (in_place())
            return V_SUCCESS;
        const auto rows = static_cast<uint32_t>(box.bottom - box.top);
        if (box.right - box.left >= made_.Width)
            return put_rows(made_, buffer_.data(), box.top, box.bottom - box.top);
        const size_t bytes = bytes_of(box.right - box.left, made_.BitsPerPixel);
        int result = V_SUCCESS;
        for (uint32_t i = 0; i < rows && result == V_SUCCESS; ++i)
            result = code_of(
                put_row_col(made_, buffer_.data() + i * stride_, box.top + static_cast<int32_t>(i), box.left, bytes));
        return result;
    }

private:
    BITMAPHANDLE& made_;
    RowWriter writer_;
    RowBuffer buffer_;
    size_t stride_ = 0;
};

struct BoxSize {
    int32_t width;
    int32_t height;
};

BoxSize box_size(const Window& window, const Canvas& canvas, const BITMAPHANDLE& made) noexcept
{
    const int32_t reported = reported_rows(made.Height);
    if (!window.in_place())
        return {kBoxSide, kBoxSide};
    const int32_t rows = std::min(reported, kBandRows);
    const uint32_t line = std::max<uint32_t>(uint32_t{made.BytesPerLine}, 1);
    const auto buffered = static_cast<int32_t>(std::max<uint64_t>(kBandBytes / line, 1));
    return {made.Width, canvas.in_place() ? rows : std::min(rows, buffered)};
}

/// Paints from memory to memory on several threads.
int turn_in_bands(const Window& window, const Canvas& canvas, const Geometry& geometry, const Painter& painter,
                  uint32_t threads, Progress& progress) noexcept
{
    auto work = [&](Bands& bands) noexcept {
        for (Band band{}; bands.take(band); bands.done(band, V_SUCCESS))
            for (int32_t top = band.row, end = band.row + band.rows; top < end; top += kBandRows)
                painter.paint(window.pixels(),
                              canvas.target({0, top, geometry.canvas_width, top + std::min(kBandRows, end - top)}));
        return V_SUCCESS;
    };
    BandPlan plan = plan_bands(geometry.canvas_height, 1, threads);
    plan.steps = geometry.canvas_width;
    return run_bands(plan, progress, work);
}

} // namespace

int64_t progress_steps(const Geometry& geometry) noexcept
{
    return int64_t{geometry.canvas_height} * geometry.canvas_width;
}

int turn_pixels(BITMAPHANDLE& source, BITMAPHANDLE& made, const Geometry& geometry, const Painter& painter,
                Progress& progress) noexcept
{
    Window window(source, geometry);
    Canvas canvas(made);
    const BoxSize size = box_size(window, canvas, made);
    int result = window.open(kBoxSide);
    if (result == V_SUCCESS)
        result = canvas.open(size.width, std::min(size.height, geometry.canvas_height));
    const uint32_t threads = window.in_place() && canvas.in_place() ? workers_allowed() : 1;
    if (result == V_SUCCESS && threads > 1)
        return turn_in_bands(window, canvas, geometry, painter, threads, progress);
    int32_t top = 0;
    while (top < geometry.canvas_height && result == V_SUCCESS) {
        const int32_t bottom = top + std::min(size.height, geometry.canvas_height - top);
        for (int32_t left = 0; left < geometry.canvas_width && result == V_SUCCESS;) {
            const int32_t right = left + std::min(size.width, geometry.canvas_width - left);
            const Box box{left, top, right, bottom};
            result = window.load(box);
            if (result == V_SUCCESS) {
                painter.paint(window.pixels(), canvas.target(box));
                result = canvas.store(box);
            }
            if (result == V_SUCCESS)
                result = progress.update(int64_t{top} * geometry.canvas_width + int64_t{right} * (bottom - top));
            left = right;
        }
        top = bottom;
    }
    return result;
}

} // namespace vk::rotate
