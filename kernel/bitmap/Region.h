// The region that hangs on a record's `RgnInfo`: a block of ours (kernel/area/Block.h), or something that belongs to a
// module which installed region hooks. Everything that changes the pixels' places calls one of the functions below once
// the pixels are where they belong; hooks are asked first, for any region, and then blocks of ours follow.
//
// Each takes the bitmap whose region it is and the one that gets the new region, which may be the same one. Into
// another one the new region is put, the bitmap keeps the old one, so that nothing is lost when a later step fails;
// regions of others stay where they are until hand_over moves them.
#pragma once

#include "Vkrecord.h"
#include "kernel/area/Bits.h"
#include "kernel/area/Transform.h"
#include "kernel/rows/RegionRows.h"

#include <cstdint>

namespace vk {

/// All pixels of a bitmap.
inline AreaBox frame_of(const BITMAPHANDLE& bitmap) noexcept
{
    return {0, 0, bitmap.Width, bitmap.Height};
}

/// Gives a bitmap a region of ours in place of the one it has, whosever that is: a copy, or what was built, as well as
/// memory lasted. SUCCESS or ERROR_NO_MEMORY.
int set_area(BITMAPHANDLE& bitmap, const Area& area) noexcept;
int set_area(BITMAPHANDLE& bitmap, AreaBuilder& built) noexcept;

/// Frees a region of ours without a word to the hooks, or gives a bitmap the one of another record in its place.
void drop_area(BITMAPHANDLE& bitmap) noexcept;
void take_area(BITMAPHANDLE& bitmap, BITMAPHANDLE& from) noexcept;

// Regions of ours alone, carried from a bitmap to one that was made from it; nothing happens without one.

/// `made` shows the pixels in another layout.
int lay_out_area(const BITMAPHANDLE& bitmap, BITMAPHANDLE& made, Layout layout) noexcept;

/// `made` has the pixels resized, nearest or by whatever filter.
int scale_area(const BITMAPHANDLE& bitmap, BITMAPHANDLE& made) noexcept;

/// `made` has the pixels moved by a distance, as far as they are still in it.
int move_area(const BITMAPHANDLE& bitmap, BITMAPHANDLE& made, int64_t columns, int64_t rows) noexcept;

// The same for any region, for what replaces a bitmap: hooks are asked first.

/// There is no hook for an exchange of rows and columns: regions of others stay as they are.
int lay_out_region(BITMAPHANDLE& bitmap, BITMAPHANDLE& made, Layout layout) noexcept;
int scale_region(BITMAPHANDLE& bitmap, BITMAPHANDLE& made, int32_t width, int32_t height) noexcept;

/// `made` is a second bitmap with the same pixels in the same places, as many as it has.
int copy_region(BITMAPHANDLE& bitmap, BITMAPHANDLE& made) noexcept;

/// Frees the bitmap's region and forgets it.
void free_region(BITMAPHANDLE& bitmap) noexcept;

/// Regions as 1-bit bitmaps, 1 inside, for what takes no shorter way: a turn by any angle, or a warp. `mask` is made in
/// storage of the thread's default type, with the size of the bitmap and its perspective, and is freed by the caller.
int make_region_mask(BITMAPHANDLE& bitmap, BITMAPHANDLE& mask) noexcept;

/// Draws an area that lies within it on an accessed 1-bit bitmap, clear so far. SUCCESS or the failure of a transfer.
int draw_area(const Area& area, BITMAPHANDLE& mask) noexcept;

/// Reads an accessed 1-bit bitmap. SUCCESS, ERROR_NO_MEMORY or the failure of a transfer.
int area_of_mask(BITMAPHANDLE& mask, BitsToArea to) noexcept;

/// Carries a region of ours to `made` as such masks: `draw(from, to)` does to 1-bit pixels what was done to the
/// bitmap's, and gives a result code. `to` has the size of `made` and clear pixels.
template <class Draw> int draw_region(BITMAPHANDLE& bitmap, BITMAPHANDLE& made, Draw draw) noexcept;

} // namespace vk

#include "kernel/bitmap/RegionMask.h"
