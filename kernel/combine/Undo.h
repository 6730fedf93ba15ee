// What a part of a bitmap held before it was changed, so that an operation that fails half-way leaves the bitmap as it
// was. Where nothing can fail any more - all pixels are memory and nobody listens to the progress - none is needed.
//
// Rows are kept batch by batch before they are changed, and put back the other way round: a store that had room for
// every state on the way has room for them again.
#pragma once

#include "Vkrecord.h"
#include "kernel/combine/AreaRows.h"
#include "kernel/combine/Scratch.h"

namespace vk::combine {

class Undo {
public:
    explicit Undo(BITMAPHANDLE& bitmap) noexcept : bitmap_(bitmap) {}
    Undo(const Undo&) = delete;
    Undo& operator=(const Undo&) = delete;

    /// Makes room for the rows of an area. SUCCESS, or why there is none.
    int open(const Area& area) noexcept;

    /// Keeps rows that are about to change, next to those kept before. Nothing without a call of open.
    int keep(int32_t row, int32_t count, const Rows& rows) noexcept;

    /// Puts everything back that was kept, as far as the storage takes it.
    void put_back() noexcept;

private:
    void put_back_row(int32_t row) noexcept;

    BITMAPHANDLE& bitmap_;
    Area area_; ///< what is kept of each row, from a byte on
    size_t bytes_ = 0;
    Scratch kept_;
    RowBuffer line_;
    int32_t first_ = 0; ///< rows [first_, end_) are kept
    int32_t end_ = 0;
    bool is_upward_ = false; ///< the last batch lay before the others
};

} // namespace vk::combine
