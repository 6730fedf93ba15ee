// Boolean operations between run-length rows, without their pixels: a new row of runs is made where both bitmaps are
// kept that way.
#pragma once

#include "kernel/combine/Bits.h"
#include "kernel/combine/Walk.h"

namespace vk::combine {

/// True when the rows of both bitmaps may be read and put as runs.
bool have_run_rows(BITMAPHANDLE& to, BITMAPHANDLE& from) noexcept;

/// The walk of such bitmaps; on failure the destination is as it was.
int walk_run_rows(BITMAPHANDLE& to, const Area& area, const Source& from, const Logic& logic,
                  Progress& progress) noexcept;

/// Writes the row that comes of a stored one (null: clear) of `width` pixels when `count` of them from `column` on are
/// combined with a source row's from `from_column` on. Needs room for max_row_bytes. Returns the row's bytes.
size_t combine_run_row(void* made, const void* row, uint32_t width, uint32_t column, const void* from,
                       uint32_t from_column, uint32_t count, const Logic& logic) noexcept;

} // namespace vk::combine
