// Rows of a part of a bitmap, of which no more is read than the part has; in place where the storage is plain memory.
// And the columns that are picked from them where a row is stepped to another width.
#pragma once

#include "Vkrecord.h"
#include "kernel/resize/Nearest.h"
#include "kernel/rows/RowAccess.h"

#include <cstddef>
#include <cstdint>

namespace vk::display {

class PartRows {
public:
    /// For an accessed bitmap that check_rows accepts.
    explicit PartRows(BITMAPHANDLE& bitmap) noexcept : bitmap_(bitmap), reader_(bitmap) {}

    /// Rows have columns [left, right), which the bitmap has. SUCCESS or ERROR_NO_MEMORY.
    int open(int32_t left, int32_t right) noexcept;

    /// The column that rows begin with: `left`, or the one before it that begins a byte.
    int32_t first() const noexcept { return first_; }
    size_t bytes() const noexcept { return bytes_; }

    /// Points at a row; good until the next call. SUCCESS or the failure of the transfer.
    int read(int32_t y, const uint8_t** pixels) noexcept;

private:
    BITMAPHANDLE& bitmap_;
    RowReader reader_;
    RowBuffer buffer_;
    int32_t first_ = 0;
    size_t bytes_ = 0;
};

/// Positions on `source` pixels from `left` on, stepped to `target`, of which `count` from `first` on are wanted. The
/// rule goes from the other end where the picture is shown reversed, so that it is the same for what is shown.
struct Steps {
    int32_t left = 0;
    int32_t source = 0;
    int32_t target = 0;
    int32_t first = 0;
    int32_t count = 0;
    bool from_end = false;

    /// The pixel that the wanted position `at` takes.
    int32_t pixel(int32_t at) const noexcept;
    bool is_same() const noexcept { return source == target; }
};

/// Picks the columns of steps from rows of their part.
class Picker {
public:
    /// For rows that have columns [row_first, row_end). SUCCESS or ERROR_NO_MEMORY.
    int open(const Steps& steps, int32_t bits, int32_t row_first, int32_t row_end) noexcept;

    /// The picked pixels, from a byte on; good until the next call.
    const uint8_t* run(const uint8_t* row) noexcept;

    /// The column of each position, counted from the bitmap's first.
    int32_t column(int32_t at) const noexcept { return row_first_ + places()[at]; }
    /// Moves nothing: the row has the columns one after the other.
    bool is_plain() const noexcept { return is_plain_; }

private:
    const int32_t* places() const noexcept { return reinterpret_cast<const int32_t*>(places_.data()); }
    void pick(const uint8_t* row) noexcept;

    resize::NearestPlan plan_;
    RowBuffer places_; ///< of each position in the row
    RowBuffer picked_;
    int32_t bits_ = 0;
    int32_t count_ = 0;
    int32_t row_first_ = 0;
    bool is_plain_ = false;
    bool has_plan_ = false;
};

} // namespace vk::display
