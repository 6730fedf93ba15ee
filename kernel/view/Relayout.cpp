// Layout changes of bitmaps. What cannot fail half-way, exchanging rows in memory, is done in place, and done again to
// undo it when the caller's status callback says stop; everything else is staged. Overlays are changed as copies that
// are put in their place at the end.
#include "kernel/view/Relayout.h"

#include "kernel/bitmap/Callbacks.h"
#include "kernel/system/Checks.h"
#include "kernel/bitmap/Duplicate.h"
#include "kernel/rows/Locks.h"
#include "kernel/bitmap/Overlay.h"
#include "kernel/rows/RowCol.h"
#include "kernel/format/RowMath.h"
#include "kernel/rows/RowAccess.h"
#include "kernel/runs/RunLength.h"
#include "kernel/system/SilentStatus.h"
#include "kernel/bitmap/Staged.h"
#include "kernel/storage/Compressed.h"
#include "kernel/view/Blocks.h"
#include "kernel/view/MirrorRow.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace vk {

namespace {

/// Copies of a bitmap's overlays in their new layout.
class StagedOverlays {
public:
    StagedOverlays() noexcept = default;
    StagedOverlays(const StagedOverlays&) = delete;
    StagedOverlays& operator=(const StagedOverlays&) = delete;
    ~StagedOverlays() { free_overlays(holder_); }

    int make(const BITMAPHANDLE& bitmap, Layout layout) noexcept
    {
        auto* const from = static_cast<OverlayTable*>(bitmap.Overlays);
        if (!from)
            return V_SUCCESS;
        OverlayTable* const to = require_overlays(holder_);
        int result = to ? V_SUCCESS : V_ERROR_NO_MEMORY;
        for (int i = 0; i < kOverlaySlots && result == V_SUCCESS; ++i)
            if (from->bitmaps[i].Flags & BITMAPFLAG_ALLOCATED)
                result = copy(to->bitmaps[i], from->bitmaps[i], layout);
        return result;
    }

    void commit_to(BITMAPHANDLE& bitmap) noexcept
    {
        if (!holder_.Overlays)
            return;
        void* const old = bitmap.Overlays;
        bitmap.Overlays = holder_.Overlays;
        holder_.Overlays = old;
    }

private:
    static int copy(BITMAPHANDLE& to, BITMAPHANDLE& from, Layout layout) noexcept
    {
        const SilentStatus silent;
        Progress none(0);
        const int result = copy_bitmap(to, from, kRecordSize);
        return result == V_SUCCESS ? change_layout(to, layout, none) : result;
    }

    BITMAPHANDLE holder_ = {};
};

// ---- in memory ----

/// Exchanges two rows that move towards each other, and has the next ones fetched meanwhile; nothing is read there.
void swap_rows(uint8_t* a, uint8_t* b, size_t bytes) noexcept
{
    const auto next_a = reinterpret_cast<uintptr_t>(a) + bytes;
    const auto next_b = reinterpret_cast<uintptr_t>(b) - bytes;
    constexpr size_t kStep = 64;
    size_t done = 0;
    for (; done + kStep <= bytes; done += kStep) {
        __builtin_prefetch(reinterpret_cast<const void*>(next_a + done), 1, 2);
        __builtin_prefetch(reinterpret_cast<const void*>(next_b + done), 1, 2);
        __m128i from_a[4];
        __m128i from_b[4];
        for (size_t i = 0; i < 4; ++i) {
            from_a[i] = turn::load_vector(a + done + 16 * i);
            from_b[i] = turn::load_vector(b + done + 16 * i);
        }
        for (size_t i = 0; i < 4; ++i) {
            turn::store_vector(a + done + 16 * i, from_b[i]);
            turn::store_vector(b + done + 16 * i, from_a[i]);
        }
    }
    std::swap_ranges(a + done, a + bytes, b + done);
}

/// Reverses rows that are memory. Each step exchanges two rows, or the pixels of one; doing it again undoes it.
class InPlace {
public:
    InPlace(const BITMAPHANDLE& bitmap, Layout layout) noexcept
        : layout_(layout), width_(bitmap.Width), bits_(bitmap.BitsPerPixel), height_(bitmap.Height),
          line_(bitmap.BytesPerLine),
          bytes_(static_cast<size_t>(packed_bytes(static_cast<uint32_t>(bitmap.Width), bitmap.BitsPerPixel)))
    {}

    /// SUCCESS or ERROR_NO_MEMORY.
    int prepare(uint8_t* rows) noexcept
    {
        rows_ = rows;
        return !layout_.mirror || buffer_.allocate(uint64_t{bytes_} + 1) ? V_SUCCESS : V_ERROR_NO_MEMORY;
    }

    int run(Progress& progress) noexcept
    {
        const int32_t steps = layout_.flip ? (height_ + (layout_.mirror ? 1 : 0)) / 2 : height_;
        int result = V_SUCCESS;
        int32_t done = 0;
        while (done < steps && result == V_SUCCESS) {
            step(done++);
            result = progress.update(layout_.flip && done < steps ? 2 * int64_t{done} : done == steps ? height_ : done);
        }
        if (result != V_SUCCESS)
            undo(done);
        return result;
    }

    void undo() noexcept { undo(layout_.flip ? (height_ + (layout_.mirror ? 1 : 0)) / 2 : height_); }

private:
    void undo(int32_t steps) noexcept
    {
        while (steps > 0)
            step(--steps);
    }

    uint8_t* row(int32_t index) const noexcept { return rows_ + line_ * static_cast<uint32_t>(index); }

    void step(int32_t index) noexcept
    {
        uint8_t* const a = row(index);
        if (!layout_.mirror)
            return swap_rows(a, row(height_ - 1 - index), line_);
        std::memcpy(buffer_.data(), a, bytes_);
        if (!layout_.flip && is_whole_bytes(bits_))
            return mirror_by_pieces(a);
        uint8_t* b = a;
        if (layout_.flip && index != height_ - 1 - index) {
            b = row(height_ - 1 - index);
            mirror_row(b, a, width_, bits_);
        }
        mirror_row(buffer_.data(), b, width_, bits_);
    }

    /// Mirrors the copied row, and has the next one fetched meanwhile: a row on its way back keeps memory idle.
    void mirror_by_pieces(uint8_t* to) noexcept
    {
        constexpr int32_t kPiece = 2048;
        constexpr size_t kFetched = 64;
        const auto pixel = static_cast<size_t>(bits_ / 8);
        const int32_t most = kPiece / (bits_ / 8);
        for (int32_t end = width_; end > 0; end -= most) {
            const int32_t count = std::min(most, end);
            const size_t bytes = static_cast<uint32_t>(count) * pixel;
            for (size_t at = 0; at < bytes; at += kFetched)
                __builtin_prefetch(to + line_ + at, 1, 2);
            mirror_row(buffer_.data() + static_cast<uint32_t>(end - count) * pixel, to, count, bits_);
            to += bytes;
        }
    }

    const Layout layout_;
    const int32_t width_;
    const int32_t bits_;
    const int32_t height_;
    const size_t line_;
    const size_t bytes_; ///< that hold pixels
    uint8_t* rows_ = nullptr;
    RowBuffer buffer_;
};

/// Tells the region what was done to the rows.
int change_region(BITMAPHANDLE& bitmap, Layout layout) noexcept
{
    int result = layout.flip ? flip_region(bitmap) : V_SUCCESS;
    if (result == V_SUCCESS && layout.mirror)
        result = reverse_region(bitmap);
    return result;
}

int reverse_in_place(BITMAPHANDLE& bitmap, Layout layout, Progress& progress) noexcept
{
    RowWriter writer(bitmap);
    InPlace pixels(bitmap, layout);
    int result = pixels.prepare(writer.place(0));
    if (result == V_SUCCESS)
        result = pixels.run(progress);
    if (result != V_SUCCESS)
        return result;
    result = change_region(bitmap, layout);
    if (result != V_SUCCESS)
        pixels.undo();
    return result;
}

// ---- run-length rows ----

bool has_run_rows(const BITMAPHANDLE& bitmap) noexcept
{
    const BITMAPDATACALLBACKS* const calls = data_callbacks(bitmap);
    const bool is_watched = calls && (calls->GetBitmapRowColCallback || calls->PutBitmapRowColCallback);
    return bitmap.Flags & BITMAPFLAG_COMPRESSED && !is_watched && compressed_has_row(bitmap, bitmap.Height - 1);
}

/// Moves rows as they are stored. Clear ones are there already.
int move_run_rows(BITMAPHANDLE& from, BITMAPHANDLE& to, Layout layout, Progress& progress) noexcept
{
    const auto width = static_cast<uint32_t>(from.Width);
    RowBuffer buffer;
    if (layout.mirror && !buffer.allocate(runlength::max_row_bytes(width) + sizeof(uint16_t)))
        return V_ERROR_NO_MEMORY;
    int result = V_SUCCESS;
    for (int32_t row = 0; row < from.Height && result == V_SUCCESS; ++row) {
        const void* stored = compressed_row(from, row);
        if (stored && layout.mirror) {
            std::memcpy(buffer.data(), stored, runlength::row_bytes(runlength::word_count(stored)));
            if (!runlength::mirror(buffer.data(), width))
                return V_ERROR_INTERNAL; // no row that the store made
            stored = buffer.data();
        }
        if (stored)
            result = compressed_put_row(to, layout.flip ? from.Height - 1 - row : row, stored);
        if (result == V_SUCCESS)
            result = progress.update(row + 1);
    }
    recount_size(to);
    return result;
}

// ---- staged ----

int fill(BITMAPHANDLE& from, BITMAPHANDLE& to, Layout layout, Progress& progress) noexcept
{
    BitmapAccess access(to);
    if (access.result() != V_SUCCESS)
        return access.result();
    const bool as_runs = !layout.transpose && has_run_rows(from) && has_run_rows(to);
    const int result = as_runs ? move_run_rows(from, to, layout, progress) : move_pixels(from, to, layout, progress);
    const int released = access.release();
    return result == V_SUCCESS ? released : result;
}

/// `access` is the operation's own.
int change_staged(BITMAPHANDLE& bitmap, BitmapAccess& access, Layout layout, Progress& progress) noexcept
{
    Staged staged(bitmap);
    Shape shape = shape_of(bitmap);
    if (layout.transpose)
        std::swap(shape.width, shape.height);
    int result = staged.make(shape, 0);
    if (result == V_SUCCESS)
        result = fill(bitmap, staged.record(), layout, progress);
    const int released = access.release();
    if (result == V_SUCCESS)
        result = released;
    if (result == V_SUCCESS && !layout.transpose)
        result = change_region(bitmap, layout);
    return result == V_SUCCESS ? staged.replace() : result;
}

} // namespace

int change_layout(BITMAPHANDLE& bitmap, Layout layout, Progress& progress) noexcept
{
    int result = check_rows(bitmap);
    if (result != V_SUCCESS)
        return result;
    StagedOverlays overlays;
    result = overlays.make(bitmap, layout);
    if (result != V_SUCCESS)
        return result;
    BitmapAccess access(bitmap);
    if (access.result() != V_SUCCESS)
        return access.result();
    const bool in_place = !layout.transpose && RowReader(bitmap).in_place() && RowWriter(bitmap).in_place();
    result = in_place ? reverse_in_place(bitmap, layout, progress) : change_staged(bitmap, access, layout, progress);
    if (result != V_SUCCESS)
        return result;
    overlays.commit_to(bitmap);
    if (layout.transpose)
        swap_resolutions(bitmap);
    return access.release(); // which is done already where the bitmap was replaced
}

void swap_resolutions(BITMAPHANDLE& bitmap) noexcept
{
    const int32_t resolution = bitmap.XResolution;
    bitmap.XResolution = bitmap.YResolution;
    bitmap.YResolution = resolution;
}

int half_turn_bitmap(BITMAPHANDLE& bitmap, Progress& progress) noexcept
{
    return change_layout(bitmap, kHalfTurned, progress);
}

int quarter_turn_bitmap(BITMAPHANDLE& bitmap, bool clockwise_on_stored_rows, Progress& progress) noexcept
{
    return change_layout(bitmap, clockwise_on_stored_rows ? kTurnedClockwise : kTurnedBack, progress);
}

int change_overlays(BITMAPHANDLE& bitmap, Layout layout) noexcept
{
    StagedOverlays overlays;
    const int result = overlays.make(bitmap, layout);
    if (result == V_SUCCESS)
        overlays.commit_to(bitmap);
    return result;
}

} // namespace vk
