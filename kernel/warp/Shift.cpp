#include "kernel/warp/Shift.h"

#include "kernel/combine/LineWriter.h"
#include "kernel/convert/Format.h"
#include "kernel/format/Depths.h"
#include "kernel/format/RowMath.h"
#include "kernel/rows/RowAccess.h"
#include "kernel/system/Checks.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>

namespace vk::warp {

namespace {

/// Writing this much and more is worth doing past the caches, as rows are copied and never looked at again.
constexpr uint64_t kStreamedBytes = 4u << 20;
/// Rows that are moved between two looks at the clock, so to speak, and through a buffer.
constexpr int32_t kBatch = 64;

std::atomic<bool> g_is_kept{false};

/// A number that keeps all its bits when a column or a row is added.
bool is_coarse(double value) noexcept
{
    constexpr double kUnit = 0x1p30;
    constexpr double kMost = 0x1p20;
    return std::fabs(value) <= kMost && value * kUnit == std::floor(value * kUnit);
}

/// The pixel before a place, or whose square holds it. Not by std::ceil, which may be a call.
int64_t pixel_of(double place) noexcept
{
    const auto cut = static_cast<int64_t>(place);
    return cut - (static_cast<double>(cut) >= place);
}

class RowMover {
public:
    RowMover(BITMAPHANDLE& source, BITMAPHANDLE& made, const Warp& warp) noexcept
        : source_(source), made_(made), warp_(warp), bits_(made.BitsPerPixel), order_(combine::bit_order(bits_)),
          reader_(source), writer_(made)
    {
        is_streamed_ = writer_.in_place() && is_whole_bytes(bits_) && plain_size(made) >= kStreamedBytes;
    }

    int run(Progress& progress) noexcept
    {
        int result = open();
        const int32_t batch = std::min(kBatch, reported_rows(made_.Height));
        combine::LineWriter lines;
        for (int32_t row = 0; row < made_.Height && result == V_SUCCESS;) {
            for (const int32_t end = row + std::min(batch, made_.Height - row); row < end && result == V_SUCCESS; ++row)
                result = move(row, lines);
            if (result == V_SUCCESS)
                result = progress.update(int64_t{row} * made_.Width);
        }
        lines.flush();
        combine::stream_fence();
        return result;
    }

private:
    size_t bytes_of(int64_t pixels) const noexcept
    {
        return static_cast<size_t>(packed_bytes(static_cast<uint64_t>(pixels), bits_));
    }

    int open() noexcept
    {
        int result = reader_.reserve(1);
        if (result == V_SUCCESS)
            result = writer_.reserve(1);
        if (result == V_SUCCESS && !fill_.allocate(made_.BytesPerLine))
            result = V_ERROR_NO_MEMORY;
        if (result == V_SUCCESS)
            fill();
        return result;
    }

    /// A row of nothing.
    void fill() noexcept
    {
        constexpr int32_t kPiece = 256;
        const sampling::FillPixel fill = sampling::fill_pixel(source_, warp_.fill);
        const size_t bytes = bytes_of(made_.Width);
        if (is_whole_bytes(bits_)) {
            const auto pixel = static_cast<size_t>(bits_ / 8);
            for (size_t at = 0; at < bytes; at += pixel)
                std::memcpy(fill_.data() + at, fill.packed, pixel);
            return;
        }
        alignas(8) uint8_t work[kPiece * sizeof(uint32_t)];
        const size_t element = is_indexed(bits_) ? 1 : sizeof(uint32_t);
        for (size_t i = 0; i < kPiece; ++i)
            std::memcpy(work + i * element, &fill.value, element);
        for (int32_t column = 0; column < made_.Width; column += std::min(kPiece, made_.Width - column))
            pixel::find_format(bits_, usual_order(bits_))
                ->pack(work, fill_.data() + bytes_of(column),
                       static_cast<size_t>(std::min(kPiece, made_.Width - column)));
    }

    int move(int32_t row, combine::LineWriter& lines) noexcept
    {
        const auto& back = warp_.back.m;
        const double down = row + 0.5;
        const int64_t from_row = pixel_of(down + back[2][1]);
        // Canvas column c shows source column c + aside.
        const int64_t aside = pixel_of(0.5 + (down * back[1][0] + back[2][0]));
        const int64_t first = std::clamp<int64_t>(0 - aside, 0, made_.Width);
        int64_t end = std::clamp<int64_t>(source_.Width - aside, first, made_.Width);
        const uint8_t* from = fill_.data();
        int result = V_SUCCESS;
        if (from_row < 0 || from_row >= source_.Height)
            end = first;
        else if (first < end)
            result = reader_.read(static_cast<int32_t>(from_row), 1, &from);
        if (result != V_SUCCESS)
            return result;
        uint8_t* const to = writer_.place(row);
        if (is_streamed_)
            stream(to, from, {first, end, aside}, lines);
        else
            copy(to, from, {first, end, aside});
        return writer_.write(row, 1);
    }

    /// Canvas columns that are seen, and how much further on in the source.
    struct Stretch {
        int64_t first;
        int64_t end;
        int64_t aside;
    };

    /// The same with the bits that the source's may begin between.
    void copy(uint8_t* to, const uint8_t* from, const Stretch& seen) const noexcept
    {
        const auto bits = static_cast<uint64_t>(bits_);
        const auto first = static_cast<uint64_t>(seen.first) * bits;
        const auto end = static_cast<uint64_t>(seen.end) * bits;
        const auto behind = static_cast<size_t>(end / 8);
        std::memcpy(to, fill_.data(), bytes_of(seen.first));
        std::memcpy(to + behind, fill_.data() + behind, made_.BytesPerLine - behind);
        if (first < end)
            combine::copy_bits(to, first, from, static_cast<uint64_t>(seen.first + seen.aside) * bits, end - first,
                               order_);
    }

    /// The whole row with what is behind its pixels, so that the next one follows.
    void stream(uint8_t* to, const uint8_t* from, const Stretch& seen, combine::LineWriter& lines) const noexcept
    {
        const size_t first = bytes_of(seen.first);
        const size_t end = bytes_of(seen.end);
        lines.seek(to);
        lines.write(fill_.data(), first);
        if (first < end)
            lines.write(from + bytes_of(seen.first + seen.aside), end - first);
        lines.write(fill_.data() + end, made_.BytesPerLine - end);
    }

    BITMAPHANDLE& source_;
    BITMAPHANDLE& made_;
    const Warp& warp_;
    const int32_t bits_;
    const combine::BitOrder order_;
    bool is_streamed_ = false;
    RowReader reader_;
    RowWriter writer_;
    RowBuffer fill_;
};

} // namespace

bool moves_rows(const Warp& warp, const Extent& source) noexcept
{
    constexpr int32_t kMost = 1 << 20;
    const auto& m = warp.back.m;
    const bool is_aside = m[0][0] == 1 && m[0][1] == 0 && m[0][2] == 0 && m[1][1] == 1 && m[1][2] == 0 && m[2][2] == 1;
    const bool is_small = std::max({source.width, source.height, warp.canvas.width, warp.canvas.height}) <= kMost;
    return !g_is_kept.load(std::memory_order_relaxed) && !warp.grid && !warp.is_mixed() && is_aside && is_small &&
           is_coarse(m[1][0]) && std::fabs(m[1][0]) * kMost <= 0x1p22 && is_coarse(m[2][0]) && is_coarse(m[2][1]);
}

int move_rows_aside(BITMAPHANDLE& source, BITMAPHANDLE& made, const Warp& warp, Progress& progress) noexcept
{
    RowMover mover(source, made, warp);
    return mover.run(progress);
}

void keep_from_moving_rows(bool is_kept) noexcept
{
    g_is_kept.store(is_kept, std::memory_order_relaxed);
}

} // namespace vk::warp
