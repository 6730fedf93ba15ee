// Rows of whole bitmaps, several at a time: where the storage is plain memory they are used in place, else they pass
// through a buffer and the row functions. Both classes work on a bitmap that is accessed and that check_rows accepts.
#pragma once

#include "Vkrecord.h"

#include <cstddef>
#include <cstdint>

namespace vk {

/// What every whole-bitmap operation asks of a bitmap's rows. SUCCESS, or ERROR_INVALID_IMAGE without storage,
/// ERROR_INVALID_WIDTH_HEIGHT when there are no rows or BytesPerLine cannot hold Width.
int check_rows(const BITMAPHANDLE& bitmap) noexcept;

/// Rows to do between two reports of progress: no more than a hundredth, or all when nobody listens.
int32_t reported_rows(int32_t height) noexcept;

/// Rows of two bitmaps that are best moved at a time: what fits a buffer in cache, at least one and no more than
/// progress allows.
int32_t buffered_rows(const BITMAPHANDLE& from, const BITMAPHANDLE& to) noexcept;

/// Moves `count` whole rows, BytesPerLine apart: at once, or one at a time where the bitmap's own callback sees them.
/// SUCCESS or a code.
int get_rows(BITMAPHANDLE& bitmap, void* buffer, int32_t row, int32_t count) noexcept;
int put_rows(BITMAPHANDLE& bitmap, const void* buffer, int32_t row, int32_t count) noexcept;

/// A buffer that frees itself.
class RowBuffer {
public:
    RowBuffer() noexcept = default;
    RowBuffer(const RowBuffer&) = delete;
    RowBuffer& operator=(const RowBuffer&) = delete;
    ~RowBuffer();

    /// Zeroed memory in place of what it held; false without memory.
    bool allocate(uint64_t bytes) noexcept;

    /// The same for rows of a bitmap that an operation works on: its scratch buffer callback is asked first, once for
    /// the operation. What it lends is used and left to it. SUCCESS, ERROR_NO_MEMORY, or the callback's refusal.
    int allocate_for(BITMAPHANDLE& bitmap, uint64_t bytes) noexcept;

    uint8_t* data() const noexcept { return data_; }

private:
    void drop() noexcept;

    uint8_t* data_ = nullptr;
    bool is_lent_ = false;
};

/// Reads consecutive rows.
class RowReader {
public:
    explicit RowReader(BITMAPHANDLE& bitmap) noexcept;

    /// Rows need no buffer: any number may be read at once.
    bool in_place() const noexcept { return rows_ != nullptr; }

    /// Makes room for `count` rows at a time. SUCCESS or what RowBuffer::allocate_for says.
    int reserve(int32_t count) noexcept;

    /// Points `rows` at `count` rows from `row` on, BytesPerLine apart; good until the next call. SUCCESS or a code.
    int read(int32_t row, int32_t count, const uint8_t** rows) noexcept;

private:
    BITMAPHANDLE& bitmap_;
    const uint8_t* rows_; ///< row 0, when in place
    RowBuffer buffer_;
};

/// Writes consecutive rows: `place` gives the memory, `write` stores what was put there.
class RowWriter {
public:
    explicit RowWriter(BITMAPHANDLE& bitmap) noexcept;

    bool in_place() const noexcept { return rows_ != nullptr; }
    int reserve(int32_t count) noexcept;

    /// Memory for rows from `row` on. Bytes behind a row's pixels are clear, or what was left there last time.
    uint8_t* place(int32_t row) const noexcept;

    /// SUCCESS or a code.
    int write(int32_t row, int32_t count) noexcept;

private:
    BITMAPHANDLE& bitmap_;
    uint8_t* rows_;
    RowBuffer buffer_;
};

} // namespace vk
