#include "kernel/sampling/Walk.h"

#include "kernel/format/RowMath.h"
#include "kernel/rows/RowCol.h"
#include "simd/Hints.h"

#include <algorithm>
#include <atomic>
#include <cmath>

namespace vk::sampling {

namespace {

/// Source pixels that are held at a time: of storage that is no memory, and of memory whose pixels must become cells,
/// which then stay in the cache.
constexpr uint64_t kHeldBytes = 32u << 20;
constexpr uint64_t kCellBytes = 1u << 20;
/// Canvas pixels on their way to storage.
constexpr uint64_t kCanvasBytes = 16u << 20;
/// Rows that are painted column block by column block: near ones see the same source rows.
constexpr int32_t kBandRows = 64;

/// Rows before they are painted that a stretch of one is asked for.
constexpr int32_t kRowsAhead = 6;

std::atomic<uint64_t> g_held{0};

uint64_t held_limit(uint64_t usual) noexcept
{
    const uint64_t limit = g_held.load(std::memory_order_relaxed);
    return limit ? std::min(limit, usual) : usual;
}

size_t bytes_of(int64_t pixels, int32_t bits) noexcept
{
    return static_cast<size_t>(packed_bytes(static_cast<uint64_t>(pixels), bits));
}

/// Brings the lines of a row that will be written: pieces of rows are too short for a processor to foresee.
void fetch_for_writing(const uint8_t* at, size_t bytes) noexcept
{
    constexpr size_t kLine = 64;
    for (const uint8_t* const end = at + bytes; at < end; at += kLine)
        simd::fetch_to_write(reinterpret_cast<uintptr_t>(at));
}

class Walk {
public:
    /// Without progress where somebody else reports it.
    Walk(const Painting& painting, Painter& painter, Progress* progress) noexcept
        : from_(painting.source), made_(painting.made), mapping_(painting.mapping), painter_(painter),
          progress_(progress), loader_(painting.source, painting.cells), fetcher_(loader_), writer_(painting.made)
    {
        source_.extent = {from_.Width, from_.Height};
    }

    /// Paints rows, once it is open.
    int paint_rows_of(const Band& band) noexcept { return walk({0, band.row, made_.Width, band.row + band.rows}); }

    int open() noexcept
    {
        const auto all = [](uint64_t bytes, int64_t rows, uint64_t limit) noexcept {
            return std::min(bytes * static_cast<uint64_t>(rows), limit);
        };
        if (!writer_.in_place()) {
            canvas_bytes_ = all(made_.BytesPerLine, made_.Height, kCanvasBytes);
            if (!canvas_.allocate(canvas_bytes_))
                return V_ERROR_NO_MEMORY;
        }
        if (loader_.is_direct())
            return loader_.whole(source_.pixels);
        held_bytes_ = all(loader_.row_bytes(loader_.width()), loader_.height(),
                          held_limit(loader_.is_memory() ? kCellBytes : kHeldBytes));
        return held_.allocate_for(from_, held_bytes_ + kSlack);
    }

private:
    int32_t bits() const noexcept { return made_.BitsPerPixel; }

    /// The source pixels that a box of the canvas looks at.
    Box looked_at(const Box& box) const noexcept
    {
        const Seen seen = mapping_.seen(box);
        if (!(seen.left <= seen.right && seen.top <= seen.bottom))
            return {};
        // A position is never off by as much as a pixel.
        const int32_t margin = painter_.margin() + 1;
        const auto within = [](double value, int32_t limit) noexcept {
            return static_cast<int32_t>(std::clamp(value, 0.0, double{1} * limit));
        };
        return {within(std::floor(seen.left) - margin, loader_.width()) / kAligned * kAligned,
                within(std::floor(seen.top) - margin, loader_.height()),
                within(std::ceil(seen.right) + margin, loader_.width()),
                within(std::ceil(seen.bottom) + margin, loader_.height())};
    }

    uint64_t held_bytes(const Box& looked) const noexcept
    {
        return looked.empty() ? 0 : static_cast<uint64_t>(looked.height()) * loader_.row_bytes(looked.width());
    }

    bool fits(const Box& box, const Box& looked) const noexcept
    {
        const uint64_t canvas = static_cast<uint64_t>(box.height()) * bytes_of(box.width(), bits());
        return (writer_.in_place() || canvas <= canvas_bytes_) &&
               (loader_.is_direct() || held_bytes(looked) <= held_bytes_);
    }

    /// What reading costs: rows are stored as a whole, so a part of one costs more than its bytes.
    uint64_t cost(const Box& box) const noexcept
    {
        const Box looked = looked_at(box);
        return looked.empty() ? 0
                              : static_cast<uint64_t>(looked.height()) *
                                    (loader_.row_bytes(looked.width()) + loader_.row_bytes(loader_.width()) / 4);
    }

    /// Halves a box the cheaper way. False when it is too small for that.
    bool halve(const Box& box, Box& first, Box& second) const noexcept
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

    int walk(const Box& box) noexcept
    {
        const Box looked = loader_.is_direct() ? Box{} : looked_at(box);
        if (fits(box, looked))
            return paint(box, looked);
        Box first;
        Box second;
        if (!halve(box, first, second))
            return held_bytes(looked) <= held_limit(kHeldBytes) ? paint_wide(box, looked) : paint_fetched(box);
        const int result = walk(first);
        return result == V_SUCCESS ? walk(second) : result;
    }

    int paint(const Box& box, const Box& looked) noexcept
    {
        if (!loader_.is_direct()) {
            const int result = looked.empty() ? V_SUCCESS : loader_.load(looked, held_.data());
            if (result != V_SUCCESS)
                return result;
            source_.pixels = {held_.data(), loader_.row_bytes(looked.width()), looked, kSlack};
        }
        return paint_rows(box);
    }

    /// A few pixels of the canvas see more of the source than is usually held.
    int paint_wide(const Box& box, const Box& looked) noexcept
    {
        held_bytes_ = held_bytes(looked);
        return held_.allocate(held_bytes_ + kSlack) ? paint(box, looked) : V_ERROR_NO_MEMORY;
    }

    /// Even a few pixels of the canvas see too much of the source.
    int paint_fetched(const Box& box) noexcept
    {
        const int result = fetcher_.open();
        if (result != V_SUCCESS)
            return result;
        Parts parts(loader_);
        parts.open(looked_at(box), held_.data(), held_bytes_);
        source_.pixels = {};
        source_.fetcher = &fetcher_;
        source_.parts = &parts;
        const int painted = paint_rows(box);
        source_.fetcher = nullptr;
        source_.parts = nullptr;
        const int read = fetcher_.result() == V_SUCCESS ? parts.result() : fetcher_.result();
        return read == V_SUCCESS ? painted : read;
    }

    int paint_rows(const Box& box) noexcept
    {
        const size_t stride = writer_.in_place() ? made_.BytesPerLine : bytes_of(box.width(), bits());
        uint8_t* out = writer_.in_place() ? writer_.place(box.top) + bytes_of(box.left, bits()) : canvas_.data();
        int result = V_SUCCESS;
        for (int32_t top = box.top; top < box.bottom && result == V_SUCCESS;) {
            const int32_t reported = progress_ ? reported_rows(made_.Height) : kBandRows;
            const int32_t rows = std::min({kBandRows, reported, box.bottom - top});
            paint_band({box.left, top, box.right, top + rows}, out, stride);
            out += stride * static_cast<uint32_t>(rows);
            top += rows;
            done_ += rows * box.width();
            result = progress_ ? progress_->update(done_) : V_SUCCESS;
        }
        return result == V_SUCCESS ? store(box) : result;
    }

    void paint_band(const Box& band, uint8_t* out, size_t stride) noexcept
    {
        for (int32_t left = band.left, right = left; left < band.right; left = right) {
            right = left / kLongest * kLongest + std::min(kLongest, band.right - left / kLongest * kLongest);
            uint8_t* place = out + bytes_of(left - band.left, bits());
            const size_t bytes = bytes_of(right - left, bits());
            for (int32_t row = band.top; row < band.bottom; ++row, place += stride) {
                if (row + kRowsAhead < band.bottom)
                    fetch_for_writing(place + kRowsAhead * stride, bytes);
                painter_.paint(source_, row, left, right, place);
            }
        }
    }

    int store(const Box& box) noexcept
    {
        if (writer_.in_place())
            return V_SUCCESS;
        const size_t bytes = bytes_of(box.width(), bits());
        int result = V_SUCCESS;
        const uint8_t* from = canvas_.data();
        for (int32_t row = box.top; row < box.bottom && result == V_SUCCESS; ++row, from += bytes)
            result = code_of(put_row_col(made_, from, row, box.left, bytes));
        return result;
    }

    BITMAPHANDLE& from_;
    BITMAPHANDLE& made_;
    const Mapping& mapping_;
    Painter& painter_;
    Progress* progress_;
    Loader loader_;
    Fetcher fetcher_;
    RowWriter writer_;
    RowBuffer canvas_;
    RowBuffer held_;
    uint64_t canvas_bytes_ = 0;
    uint64_t held_bytes_ = 0;
    Source source_;
    int64_t done_ = 0;
};

} // namespace

int64_t progress_steps(const Extent& canvas) noexcept
{
    return int64_t{canvas.width} * canvas.height;
}

int paint_canvas(const Painting& painting, Painter& painter, Progress& progress) noexcept
{
    Walk walk(painting, painter, &progress);
    const int result = walk.open();
    return result == V_SUCCESS ? walk.paint_rows_of({0, painting.made.Height}) : result;
}

int paint_bands(const Painting& painting, Painter& painter, Bands& bands) noexcept
{
    Walk walk(painting, painter, nullptr);
    const int result = walk.open();
    for (Band band{}; result == V_SUCCESS && bands.take(band);)
        bands.done(band, walk.paint_rows_of(band));
    return result;
}

BandPlan plan_canvas(const Painting& painting) noexcept
{
    const BITMAPHANDLE& made = painting.made;
    const bool is_memory = RowReader(painting.source).in_place() && RowWriter(painting.made).in_place();
    BandPlan plan = plan_bands(made.Height, 1, is_memory ? workers_allowed() : 1);
    plan.steps = made.Width;
    return plan;
}

void limit_held(uint64_t bytes) noexcept
{
    g_held.store(bytes, std::memory_order_relaxed);
}

} // namespace vk::sampling
