#include "kernel/resample/MovedRows.h"

#include <algorithm>

namespace vk::resample {

namespace {

/// Bytes of a piece, source and result: so many that few rows are worked on twice, at the edges of pieces.
constexpr uint64_t kPieceBytes = 2u << 20;
/// Of the source no more is held for each thread. Usually pieces are far from that.
constexpr uint64_t kHeldBytes = 16u << 20;

} // namespace

MovedRows::MovedRows(BITMAPHANDLE& from, BITMAPHANDLE& to, Kernel kernel, bool is_reversed) noexcept
    : from_(from), to_(to), kernel_(kernel), is_reversed_(is_reversed), is_read_(!RowReader(from).in_place()),
      is_written_(!RowWriter(to).in_place()), relay_(*this)
{}

Band MovedRows::rows_of(int64_t number) const noexcept
{
    const auto first = static_cast<int32_t>(number * rows_);
    return {first, std::min(rows_, to_.Height - first)};
}

RowPiece MovedRows::piece(int64_t number) const noexcept
{
    const size_t bytes = size_t{to_.BytesPerLine} * static_cast<uint32_t>(rows_);
    return {rows_of(number), is_written_ ? made_.data() + relay_.slot(number) * bytes : nullptr};
}

PixelSpan MovedRows::source_rows(int64_t number) const noexcept
{
    const Band rows = rows_of(number);
    return needed_pixels(kernel_, {from_.Height, to_.Height, rows.row, rows.rows});
}

int32_t MovedRows::rows_at_a_time(uint32_t threads) const noexcept
{
    const auto steps = static_cast<uint64_t>(from_.Height / to_.Height) + 1;
    const uint64_t bytes = uint64_t{to_.BytesPerLine} + steps * from_.BytesPerLine;
    const auto most = static_cast<int32_t>(std::clamp<uint64_t>(kPieceBytes / bytes, 1, INT32_MAX));
    return std::min({most, reported_rows(to_.Height), plan_bands(to_.Height, 1, threads).rows});
}

bool MovedRows::plan(uint32_t threads) noexcept
{
    rows_ = rows_at_a_time(threads);
    const int32_t pieces = to_.Height / rows_ + (to_.Height % rows_ != 0);
    relay_.plan(pieces, threads);
    int64_t most = 1;
    for (int32_t i = 0; i < pieces && is_read_; ++i) {
        const PixelSpan span = source_rows(i);
        most = std::max<int64_t>(most, int64_t{span.end} - span.first);
    }
    const auto held = static_cast<int64_t>(kHeldBytes * relay_.bands().threads / from_.BytesPerLine);
    ring_.rows = static_cast<int32_t>(std::min({relay_.slots() * most, held, int64_t{from_.Height}}));
    ring_.pitch = from_.BytesPerLine;
    return pieces > 1 && (!is_read_ || ring_.rows >= std::min<int64_t>(2 * most, from_.Height));
}

int MovedRows::open() noexcept
{
    int result = V_SUCCESS;
    if (is_read_)
        result = held_.allocate_for(from_, ring_.pitch * static_cast<uint64_t>(ring_.rows));
    ring_.data = held_.data();
    if (result == V_SUCCESS && is_written_)
        result = made_.allocate_for(to_, uint64_t{to_.BytesPerLine} * static_cast<uint32_t>(rows_) *
                                             static_cast<uint64_t>(relay_.slots()));
    return result;
}

/// Reads rows to their place in the ring, at most in two stretches.
int MovedRows::read(int32_t first, int32_t count) noexcept
{
    int result = V_SUCCESS;
    while (count > 0 && result == V_SUCCESS) {
        const int32_t at = first % ring_.rows;
        const int32_t rows = std::min(count, ring_.rows - at);
        result = get_rows(from_, held_.data() + static_cast<size_t>(at) * ring_.pitch, first, rows);
        first += rows;
        count -= rows;
    }
    return result;
}

int MovedRows::bring(int64_t number) noexcept
{
    brought_ = number + 1;
    if (!is_read_)
        return V_SUCCESS;
    const PixelSpan span = source_rows(number);
    const int32_t first = std::max(span.first, read_);
    read_ = std::max(span.end, read_);
    return read(first, read_ - first);
}

int MovedRows::carry(int64_t number) noexcept
{
    const RowPiece made = piece(number);
    int result = V_SUCCESS;
    for (int32_t i = 0; i < made.rows.rows && result == V_SUCCESS && is_written_; ++i) {
        const int32_t row = made.rows.row + i;
        result = put_rows(to_, made.to + size_t{to_.BytesPerLine} * static_cast<uint32_t>(i),
                          is_reversed_ ? to_.Height - 1 - row : row, 1);
    }
    return result;
}

/// The rows of pieces that are under way stay.
bool MovedRows::has_room(int64_t carried) const noexcept
{
    return !is_read_ || source_rows(brought_).end - source_rows(carried).first <= ring_.rows;
}

} // namespace vk::resample
