// Rows of a resized bitmap that several threads make, where source or result is no memory (threading/Relay.h): the
// calling thread reads source rows, each once, into a ring, and writes the rows that are made.
#pragma once

#include "kernel/resample/LaneRows.h"
#include "kernel/resample/Weights.h"
#include "kernel/threading/Relay.h"

namespace vk::resample {

/// Rows of the result that are made together.
struct RowPiece {
    Band rows;
    uint8_t* to; ///< BytesPerLine apart; null where they are made in their place
};

class MovedRows final : public Freight {
public:
    /// From an accessed bitmap to another, whose stored rows are in reverse if `is_reversed`.
    MovedRows(BITMAPHANDLE& from, BITMAPHANDLE& to, Kernel kernel, bool is_reversed) noexcept;

    /// Settles what is made at a time. False when one thread does as well alone: a row is made of so many that no
    /// second one's would be held.
    bool plan(uint32_t threads) noexcept;

    /// SUCCESS or what RowBuffer::allocate_for says.
    int open() noexcept;

    Relay& relay() noexcept { return relay_; }
    RowPiece piece(int64_t number) const noexcept;
    const RowRing* ring() const noexcept { return is_read_ ? &ring_ : nullptr; } ///< null: the source is memory
    bool is_written() const noexcept { return is_written_; }                     ///< the result is none

    int bring(int64_t number) noexcept override;
    int carry(int64_t number) noexcept override;
    bool has_room(int64_t carried) const noexcept override;
    int64_t steps(int64_t number) const noexcept override { return rows_of(number).rows; }

private:
    Band rows_of(int64_t number) const noexcept;
    PixelSpan source_rows(int64_t number) const noexcept;
    int32_t rows_at_a_time(uint32_t threads) const noexcept;
    int read(int32_t first, int32_t count) noexcept;

    BITMAPHANDLE& from_;
    BITMAPHANDLE& to_;
    const Kernel kernel_;
    const bool is_reversed_;
    const bool is_read_;
    const bool is_written_;
    Relay relay_;
    int32_t rows_ = 1; ///< of a piece, the last one aside
    RowRing ring_;
    int32_t read_ = 0;    ///< source rows up to here have been read or passed over
    int64_t brought_ = 0; ///< pieces
    RowBuffer held_;      ///< the ring
    RowBuffer made_;      ///< in slots
};

} // namespace vk::resample
