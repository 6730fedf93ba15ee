// Whole bitmaps laid out anew: rows in reverse order, pixels in reverse order, rows and columns exchanged, and what is
// made of these. All work on stored data, whatever the view perspective, which none of them changes. Overlays lie over
// stored pixels and are laid out anew with them. On any failure the bitmap is as it was.
//
// Bitmaps are allocated and their records checked. Progress counts rows of the bitmap and has begun.
#pragma once

#include "Vkrecord.h"
#include "kernel/system/Progress.h"

namespace vk {

/// One of the eight layouts of a picture: first the rows are reversed, and the pixels of each row, then rows and
/// columns are exchanged.
struct Layout {
    bool flip = false;
    bool mirror = false;
    bool transpose = false;
};

constexpr Layout kFlipped{true, false, false};
constexpr Layout kMirrored{false, true, false};
constexpr Layout kHalfTurned{true, true, false};
constexpr Layout kTurnedClockwise{true, false, true};
constexpr Layout kTurnedBack{false, true, true};

/// Lays a bitmap out anew. Where rows stay rows and are memory they are exchanged in place; everything else is made
/// anew, and run-length rows stay what they are. Width and height, and the resolutions, are exchanged with rows and
/// columns. The region hooks for what was reversed are called last; where rows became columns the region goes along as
/// it is, there being no hook to turn it.
int change_layout(BITMAPHANDLE& bitmap, Layout layout, Progress& progress) noexcept;

/// Turns by a half.
int half_turn_bitmap(BITMAPHANDLE& bitmap, Progress& progress) noexcept;

/// Turns stored data by a quarter.
int quarter_turn_bitmap(BITMAPHANDLE& bitmap, bool clockwise_on_stored_rows, Progress& progress) noexcept;

/// Writes the pixels of one accessed bitmap into another of the same depth and the size that the layout makes. Takes
/// bounded memory for storage that is not memory.
int move_pixels(BITMAPHANDLE& from, BITMAPHANDLE& to, Layout layout, Progress& progress) noexcept;

/// Lays the overlays of a bitmap out anew, without the bitmap. SUCCESS or nothing done.
int change_overlays(BITMAPHANDLE& bitmap, Layout layout) noexcept;

/// Exchanges a bitmap's resolutions, as rows and columns are.
void swap_resolutions(BITMAPHANDLE& bitmap) noexcept;

} // namespace vk
