// Rows of a part of a bitmap, some at a time: in place where they are memory, else through a buffer that holds whole
// rows where most of each is wanted, and only the bytes concerned where it is not.
//
// Bitmaps are accessed, check_rows accepts them, and areas are cut to them.
#pragma once

#include "Vkrecord.h"
#include "kernel/combine/Clip.h"
#include "kernel/rows/RowAccess.h"

#include <cstddef>
#include <cstdint>

namespace vk::combine {

/// Rows in memory whose first byte begins with column `left`, a multiple of eight.
struct Rows {
    uint8_t* data = nullptr;
    size_t stride = 0;
    int32_t left = 0;

    uint8_t* row(int32_t index) const noexcept { return data + stride * static_cast<uint32_t>(index); }
};

/// Rows of the area to do between two reports of progress; unless all is memory, as many as fit a buffer.
int32_t batch_rows(const BITMAPHANDLE& bitmap, const Area& area, bool in_memory) noexcept;

class AreaRows {
public:
    enum class Use : uint8_t { read, change };

    AreaRows(BITMAPHANDLE& bitmap, const Area& area, Use use) noexcept;

    bool in_place() const noexcept { return memory_ != nullptr; }

    /// Makes room for so many rows. SUCCESS or what RowBuffer::allocate_for says.
    int reserve(int32_t count) noexcept;
    /// Brings `count` rows from stored row `row` on as they are now; good until the next call. Those that are only read
    /// may not be written.
    int load(int32_t row, int32_t count, Rows& rows) noexcept;
    /// Puts rows back that were loaded last.
    int store(int32_t row, int32_t count) noexcept;

private:
    /// Moves the bytes concerned of each row.
    template <class Move> int each_row(int32_t row, int32_t count, Move move) noexcept;

    BITMAPHANDLE& bitmap_;
    uint8_t* memory_ = nullptr; ///< row 0, when in place
    size_t bytes_ = 0;          ///< that are moved of each row; 0: whole rows, all at once
    Rows held_;                 ///< in the buffer
    RowBuffer buffer_;
};

} // namespace vk::combine
