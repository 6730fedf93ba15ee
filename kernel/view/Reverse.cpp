// A reversal is its own inverse, step by step: what undoes a step is the same step again.
#include "kernel/view/Reverse.h"

#include "kernel/format/RowMath.h"
#include "kernel/rows/RowAccess.h"
#include "kernel/storage/Store.h"
#include "kernel/system/Checks.h"
#include "kernel/view/MirrorRow.h"
#include "simd/Simd.h"

#include <algorithm>
#include <cstring>

namespace vk {

namespace {

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
        using Part = simd::Quad<uint8_t>;
        Part from_a[4];
        Part from_b[4];
        for (size_t i = 0; i < 4; ++i) {
            from_a[i] = simd::load<Part>(a + done + 16 * i);
            from_b[i] = simd::load<Part>(b + done + 16 * i);
        }
        for (size_t i = 0; i < 4; ++i) {
            simd::store(a + done + 16 * i, from_b[i]);
            simd::store(b + done + 16 * i, from_a[i]);
        }
    }
    std::swap_ranges(a + done, a + bytes, b + done);
}

/// Rows that lie one behind the other in memory. Each step exchanges two of them, or the pixels of one.
class Block {
public:
    Block(const BITMAPHANDLE& bitmap, Layout layout) noexcept
        : layout_(layout), width_(bitmap.Width), bits_(bitmap.BitsPerPixel), line_(bitmap.BytesPerLine),
          bytes_(static_cast<size_t>(packed_bytes(static_cast<uint32_t>(bitmap.Width), bitmap.BitsPerPixel)))
    {}

    /// Bytes of memory that the steps need; 0 for none.
    size_t room() const noexcept { return layout_.mirror ? bytes_ + 1 : 0; }
    void place(uint8_t* rows, int32_t height, uint8_t* room) noexcept
    {
        rows_ = rows;
        height_ = height;
        room_ = room;
    }

    int32_t steps() const noexcept { return layout_.flip ? (height_ + (layout_.mirror ? 1 : 0)) / 2 : height_; }

    void step(int32_t index) const noexcept
    {
        uint8_t* const a = row(index);
        if (!layout_.mirror)
            return swap_rows(a, row(height_ - 1 - index), line_);
        std::memcpy(room_, a, bytes_);
        if (!layout_.flip && bits_ % 8 == 0)
            return mirror_by_pieces(a);
        uint8_t* b = a;
        if (layout_.flip && index != height_ - 1 - index) {
            b = row(height_ - 1 - index);
            mirror_row(b, a, width_, bits_);
        }
        mirror_row(room_, b, width_, bits_);
    }

    void reverse() const noexcept
    {
        const int32_t count = steps();
        for (int32_t i = 0; i < count; ++i)
            step(i);
    }

private:
    uint8_t* row(int32_t index) const noexcept { return rows_ + line_ * static_cast<uint32_t>(index); }

    /// Mirrors the copied row, and has the next one fetched meanwhile: a row on its way back keeps memory idle.
    void mirror_by_pieces(uint8_t* to) const noexcept
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
            mirror_row(room_ + static_cast<uint32_t>(end - count) * pixel, to, count, bits_);
            to += bytes;
        }
    }

    const Layout layout_;
    const int32_t width_;
    const int32_t bits_;
    const size_t line_;
    const size_t bytes_; ///< that hold pixels
    int32_t height_ = 0;
    uint8_t* rows_ = nullptr;
    uint8_t* room_ = nullptr;
};

/// Rows in memory, where they are.
class InMemory {
public:
    InMemory(BITMAPHANDLE& bitmap, Layout layout) noexcept
        : bitmap_(bitmap), block_(bitmap, layout), pairs_(layout.flip)
    {}

    int prepare() noexcept
    {
        const size_t room = block_.room();
        const int result = room ? buffer_.allocate_for(bitmap_, room) : V_SUCCESS;
        block_.place(RowWriter(bitmap_).place(0), bitmap_.Height, buffer_.data());
        return result;
    }

    int32_t steps() const noexcept { return block_.steps(); }
    /// Rows that are in their place after `steps` steps.
    int64_t rows_after(int32_t steps) const noexcept { return (pairs_ ? 2 : 1) * int64_t{steps}; }
    int step(int32_t index) noexcept
    {
        block_.step(index);
        return V_SUCCESS;
    }
    void undo_step(int32_t index) noexcept { block_.step(index); }

private:
    BITMAPHANDLE& bitmap_;
    Block block_;
    bool pairs_;
    RowBuffer buffer_;
};

/// Rows anywhere: a band from each end, or two that lie together, is read, reversed as one block and written back.
/// Where the two ends meet, what is left between them is one block.
class ThroughBands {
public:
    ThroughBands(BITMAPHANDLE& bitmap, Layout layout) noexcept
        : bitmap_(bitmap), block_(bitmap, layout), flips_(layout.flip), line_(bitmap.BytesPerLine),
          height_(bitmap.Height), band_(rows_of_band(bitmap))
    {}

    int prepare() noexcept
    {
        const uint64_t rows = line_ * static_cast<uint32_t>(std::min(2 * band_, height_));
        const int result = buffer_.allocate_for(bitmap_, rows + block_.room());
        if (result == SUCCESS)
            room_ = buffer_.data() + rows;
        return result;
    }

    int32_t steps() const noexcept { return static_cast<int32_t>((int64_t{height_} + 2 * band_ - 1) / (2 * band_)); }
    int64_t rows_after(int32_t steps) const noexcept { return 2 * int64_t{band_} * steps; }

    int step(int32_t index) noexcept
    {
        const Part part = part_of(index);
        int result = read(part);
        if (result != V_SUCCESS)
            return result;
        reverse(part);
        result = write(part);
        if (result == V_SUCCESS)
            return result;
        reverse(part); // some of it may have been written
        write(part);
        return result;
    }

    void undo_step(int32_t index) noexcept
    {
        const Part part = part_of(index);
        if (read(part) != V_SUCCESS)
            return;
        reverse(part);
        write(part);
    }

private:
    /// `rows` rows from `first` on, and as many from `second` on unless that is negative.
    struct Part {
        int32_t first;
        int32_t second;
        int32_t rows;
    };

    /// Rows of one band: few enough for a cache, and for the tiles of the smallest size to stay at hand. A small bitmap
    /// is two bands, and written at once.
    static int32_t rows_of_band(const BITMAPHANDLE& bitmap) noexcept
    {
        constexpr int32_t kMostRows = 256;
        const int32_t half = reported_rows(bitmap.Height) / 2 + reported_rows(bitmap.Height) % 2;
        return std::min({buffered_rows(bitmap, bitmap), half, kMostRows});
    }

    Part part_of(int32_t index) const noexcept
    {
        const int32_t done = index * band_;
        const int32_t left = height_ - 2 * done;
        if (!flips_)
            return {2 * done, -1, std::min(2 * band_, left)};
        return left <= 2 * band_ ? Part{done, -1, left} : Part{done, height_ - done - band_, band_};
    }

    uint8_t* second_rows(const Part& part) const noexcept
    {
        return buffer_.data() + line_ * static_cast<uint32_t>(part.rows);
    }

    int read(const Part& part) noexcept
    {
        const int result = get_rows(bitmap_, buffer_.data(), part.first, part.rows);
        return result == V_SUCCESS && part.second >= 0 ? get_rows(bitmap_, second_rows(part), part.second, part.rows)
                                                       : result;
    }

    /// Both bands are tried, since after a failure each is to be what it was. SUCCESS or the first failure.
    int write(const Part& part) noexcept
    {
        const int first = put_rows(bitmap_, buffer_.data(), part.first, part.rows);
        const int second = part.second >= 0 ? put_rows(bitmap_, second_rows(part), part.second, part.rows) : V_SUCCESS;
        return first == V_SUCCESS ? second : first;
    }

    void reverse(const Part& part) noexcept
    {
        block_.place(buffer_.data(), part.second >= 0 ? 2 * part.rows : part.rows, room_);
        block_.reverse();
    }

    BITMAPHANDLE& bitmap_;
    Block block_;
    bool flips_;
    size_t line_;
    int32_t height_;
    int32_t band_;
    RowBuffer buffer_;
    uint8_t* room_ = nullptr;
};

template <class Way> int run(Way& way, int32_t height, Progress& progress, const Agreement& agreement) noexcept
{
    int result = way.prepare();
    if (result != V_SUCCESS)
        return result;
    const int32_t steps = way.steps();
    int32_t done = 0;
    while (done < steps && result == V_SUCCESS) {
        result = way.step(done);
        if (result != V_SUCCESS)
            break;
        ++done;
        result = progress.update(done == steps ? height : std::min<int64_t>(way.rows_after(done), height));
    }
    if (result == V_SUCCESS)
        result = agreement.ask(agreement.context);
    while (result != V_SUCCESS && done > 0)
        way.undo_step(--done);
    return result;
}

/// The store that reverses the rows itself, where no callback wants to see them.
const Store* reversing_store(const BITMAPHANDLE& bitmap) noexcept
{
    const BITMAPDATACALLBACKS* const calls = data_callbacks(bitmap);
    const bool is_watched = calls && (calls->GetBitmapRowColCallback || calls->PutBitmapRowColCallback);
    const Store* const store = store_of(bitmap);
    return store && store->calls.reverses && !is_watched && store->calls.reverses(bitmap) ? store : nullptr;
}

} // namespace

int reverse_pixels(BITMAPHANDLE& bitmap, Layout layout, Progress& progress, const Agreement& agreement) noexcept
{
    if (const Store* const store = reversing_store(bitmap)) {
        const Reversal reversal{layout.flip, layout.mirror ? mirror_row : nullptr, progress, agreement.ask,
                                agreement.context};
        return store->calls.reverse(bitmap, reversal);
    }
    if (RowReader(bitmap).in_place() && RowWriter(bitmap).in_place()) {
        InMemory way(bitmap, layout);
        return run(way, bitmap.Height, progress, agreement);
    }
    ThroughBands way(bitmap, layout);
    return run(way, bitmap.Height, progress, agreement);
}

} // namespace vk
