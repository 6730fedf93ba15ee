// The walk that all changes of a bitmap's pixels share: rows of the destination with those of a source and a mask
// beside them, as many as are there, in the order that lets a bitmap be its own source, with progress, and with
// everything put back when it is stopped.
//
// Bitmaps are accessed and check_rows accepts them; the areas lie inside them and have the destination's size.
#pragma once

#include "Vkrecord.h"
#include "kernel/combine/AreaRows.h"
#include "kernel/combine/Clip.h"
#include "kernel/system/Progress.h"

namespace vk::combine {

/// Pixels of one row. Columns count from the first byte of `data`, where a pixel begins.
struct Line {
    uint8_t* data = nullptr;
    int32_t column = 0;
};

/// What is done to a run of pixels that may be written.
class RunOperation {
public:
    /// Called for each row before its runs: the row, and the column that the destination's line counts from. A code
    /// that is not SUCCESS ends the walk.
    virtual int begin_row([[maybe_unused]] int32_t row, [[maybe_unused]] int32_t left) noexcept { return V_SUCCESS; }

    /// Changes `count` pixels of `to`. The sources that the walk has are there and do not overlap it.
    virtual void run(Line to, Line from, Line mask, int32_t count) noexcept = 0;

protected:
    ~RunOperation() = default;
};

/// A bitmap that is only read, row by row of its area.
struct Source {
    BITMAPHANDLE* bitmap = nullptr; ///< null: there is none
    Area area;
    bool is_reversed = false; ///< its last row lies on the destination's first
};

/// True when writing one bitmap's pixels may change the other's.
bool share_storage(BITMAPHANDLE& a, BITMAPHANDLE& b) noexcept;

/// What becomes of the destination when the walk does not get to its end.
enum class OnFailure : uint8_t {
    put_back, ///< it is as it was
    discard   ///< it is of no use to anybody then
};

/// A source that lies on storage shared with the destination is the destination itself, and not reversed; a mask does
/// not share any. Progress counts rows.
int walk(BITMAPHANDLE& to, const Area& area, const Source& from, const Source& mask, RunOperation& operation,
         Progress& progress, OnFailure on_failure) noexcept;

} // namespace vk::combine
