#include "kernel/sampling/Walk.h"

#include "simd/Hints.h"

#include <algorithm>
#include <atomic>

namespace vk::sampling {

namespace {

/// Held of memory whose pixels must become cells, which then stay in the cache.
constexpr uint64_t kCellBytes = 1u << 20;

/// Rows before they are painted that a stretch of one is asked for.
constexpr int32_t kRowsAhead = 6;

std::atomic<uint64_t> g_held{0};

/// Brings the lines of a row that will be written: pieces of rows are too short for a processor to foresee.
void fetch_for_writing(const uint8_t* at, size_t bytes) noexcept
{
    constexpr size_t kLine = 64;
    for (const uint8_t* const end = at + bytes; at < end; at += kLine)
        simd::fetch_to_write(reinterpret_cast<uintptr_t>(at));
}

/// Where pixels are painted: memory that stands for a box of the canvas.
struct Target {
    uint8_t* data = nullptr;
    size_t stride = 0;
    Box box;
};

class Walk {
public:
    /// Without progress where somebody else reports it.
    Walk(const Painting& painting, Painter& painter, Progress* progress) noexcept
        : from_(painting.source), made_(painting.made), painter_(painter), progress_(progress),
          loader_(painting.source, painting.cells), fetcher_(loader_), writer_(painting.made),
          boxes_(loader_, painting.mapping, painter.margin(), painting.made.BitsPerPixel)
    {
        source_.extent = {from_.Width, from_.Height};
        target_ = {writer_.place(0), made_.BytesPerLine, {0, 0, made_.Width, made_.Height}};
    }

    /// For the whole bitmap, whose pixels this moves where they are no memory.
    int open() noexcept
    {
        if (!writer_.in_place()) {
            canvas_bytes_ = all(made_.BytesPerLine, made_.Height, kCanvasBytes);
            if (!canvas_.allocate(canvas_bytes_))
                return V_ERROR_NO_MEMORY;
        }
        return open_source();
    }

    /// For pieces, which have the source's pixels with them where these are no memory.
    int open_for_pieces(bool is_read) noexcept
    {
        is_lent_ = is_read;
        if (is_lent_)
            loader_.lend({});
        return open_source();
    }

    int paint_rows_of(const Band& band) noexcept { return walk({0, band.row, made_.Width, band.row + band.rows}); }

    int paint_piece(const Piece& piece) noexcept
    {
        if (is_lent_)
            loader_.lend(piece.window);
        source_.pixels = loader_.memory();
        if (piece.canvas)
            target_ = {piece.canvas, bytes_of(piece.box.width(), bits()), piece.box};
        return walk(piece.box);
    }

private:
    int32_t bits() const noexcept { return made_.BitsPerPixel; }

    static uint64_t all(uint64_t bytes, int64_t rows, uint64_t limit) noexcept
    {
        return std::min(bytes * static_cast<uint64_t>(rows), limit);
    }

    int open_source() noexcept
    {
        source_.pixels = loader_.memory();
        if (loader_.is_direct())
            return V_SUCCESS;
        held_bytes_ = all(loader_.row_bytes(loader_.width()), loader_.height(),
                          held_limit(loader_.is_memory() ? kCellBytes : kHeldBytes));
        return held_.allocate_for(from_, held_bytes_ + kSlack);
    }

    CutLimits limits() const noexcept
    {
        return {canvas_.data() ? canvas_bytes_ : kUnlimited, loader_.is_direct() ? kUnlimited : held_bytes_};
    }

    int walk(const Box& box) noexcept
    {
        boxes_.begin(box);
        int result = V_SUCCESS;
        for (Cut cut; result == V_SUCCESS && boxes_.next(limits(), cut);)
            result = paint_cut(cut);
        return result;
    }

    int paint_cut(const Cut& cut) noexcept
    {
        if (canvas_.data())
            target_ = {canvas_.data(), bytes_of(cut.box.width(), bits()), cut.box};
        if (cut.fits)
            return paint(cut.box, cut.looked);
        const bool is_wide = boxes_.held_bytes(cut.looked) <= held_limit(kHeldBytes);
        return is_wide ? paint_wide(cut.box, cut.looked) : paint_fetched(cut.box, cut.looked);
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
        held_bytes_ = boxes_.held_bytes(looked);
        return held_.allocate(held_bytes_ + kSlack) ? paint(box, looked) : V_ERROR_NO_MEMORY;
    }

    /// Even a few pixels of the canvas see too much of the source.
    int paint_fetched(const Box& box, const Box& looked) noexcept
    {
        const int result = fetcher_.open();
        if (result != V_SUCCESS)
            return result;
        Parts parts(loader_);
        parts.open(looked, held_.data(), held_bytes_);
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
        uint8_t* out = target_.data + static_cast<size_t>(box.top - target_.box.top) * target_.stride +
                       bytes_of(box.left - target_.box.left, bits());
        int result = V_SUCCESS;
        for (int32_t top = box.top; top < box.bottom && result == V_SUCCESS;) {
            const int32_t reported = progress_ ? reported_rows(made_.Height) : kBandRows;
            const int32_t rows = std::min({kBandRows, reported, box.bottom - top});
            paint_band({box.left, top, box.right, top + rows}, out);
            out += target_.stride * static_cast<uint32_t>(rows);
            top += rows;
            done_ += rows * box.width();
            result = progress_ ? progress_->update(done_) : V_SUCCESS;
        }
        return result == V_SUCCESS && canvas_.data() ? put_box(made_, box, canvas_.data()) : result;
    }

    void paint_band(const Box& band, uint8_t* out) noexcept
    {
        for (int32_t left = band.left, right = left; left < band.right; left = right) {
            right = left / kLongest * kLongest + std::min(kLongest, band.right - left / kLongest * kLongest);
            uint8_t* place = out + bytes_of(left - band.left, bits());
            const size_t bytes = bytes_of(right - left, bits());
            for (int32_t row = band.top; row < band.bottom; ++row, place += target_.stride) {
                if (row + kRowsAhead < band.bottom)
                    fetch_for_writing(place + kRowsAhead * target_.stride, bytes);
                painter_.paint(source_, row, left, right, place);
            }
        }
    }

    BITMAPHANDLE& from_;
    BITMAPHANDLE& made_;
    Painter& painter_;
    Progress* progress_;
    Loader loader_;
    Fetcher fetcher_;
    RowWriter writer_;
    Boxes boxes_;
    bool is_lent_ = false; ///< source pixels are, piece by piece
    Target target_;
    RowBuffer canvas_; ///< of pixels that this writes to storage
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

int paint_pieces(const Painting& painting, Painter& painter, MovedBoxes& moved, Bands& bands) noexcept
{
    Walk walk(painting, painter, nullptr);
    Relay& relay = moved.relay();
    const int result = walk.open_for_pieces(moved.is_read());
    for (int64_t number = 0; result == V_SUCCESS && relay.take(bands, number);)
        relay.done(bands, number, walk.paint_piece(moved.piece(number)));
    return result;
}

BandPlan plan_canvas(const BITMAPHANDLE& made) noexcept
{
    BandPlan plan = plan_bands(made.Height, 1, workers_allowed());
    plan.steps = made.Width;
    return plan;
}

uint64_t held_limit(uint64_t usual) noexcept
{
    const uint64_t limit = g_held.load(std::memory_order_relaxed);
    return limit ? std::min(limit, usual) : usual;
}

void limit_held(uint64_t bytes) noexcept
{
    g_held.store(bytes, std::memory_order_relaxed);
}

} // namespace vk::sampling
