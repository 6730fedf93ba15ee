// Warps that move every row to the side as it is, by whole pixels: a sheared picture's rows, and translations. They are
// copied, at the positions that the general way would work out, where these are certain to be the same to the bit.
#pragma once

#include "kernel/sampling/Fill.h"
#include "kernel/system/Progress.h"
#include "kernel/warp/WarpBitmap.h"

namespace vk::warp {

/// True when a warp by the nearest pixel only moves rows and tells its positions in fractions that doubles hold.
bool moves_rows(const Warp& warp, const Extent& source) noexcept;

/// Paints such a warp, with what pads the rows; as paint_bitmap.
int move_rows_aside(BITMAPHANDLE& source, BITMAPHANDLE& made, const Warp& warp, Progress& progress) noexcept;

/// Keeps to the general way, for tests.
void keep_from_moving_rows(bool is_kept) noexcept;

} // namespace vk::warp
