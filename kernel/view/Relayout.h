// Whole bitmaps laid out anew: rows in reverse order, pixels in reverse order, rows and columns exchanged, and what is
// made of these. All work on stored data. Overlays go along, each so that it lies over the same pixels of what is
// shown. On any failure the bitmap is as it was.
//
// Bitmaps are allocated and their records checked. Progress counts rows of the bitmap and has begun.
#pragma once

#include "Vkrecord.h"
#include "kernel/area/Layout.h"
#include "kernel/system/Progress.h"

#include <initializer_list>

namespace vk {

/// A change of the stored pixels, and the perspective that they are then shown in.
struct LayoutStep {
    Layout layout;
    int32_t perspective;
};

/// Lays a bitmap out anew, step by step. Where rows stay rows they are reversed where they are (Reverse.h); where they
/// become columns the bitmap is made anew, and run-length rows stay what they are. Width and height, and the
/// resolutions, are exchanged with rows and columns. The region hooks for what was reversed are called last; where rows
/// became columns the region goes along as it is, there being no hook to turn it. A failing release undoes nothing and
/// is the result; what fails in a second step leaves the first.
int change_layout(BITMAPHANDLE& bitmap, std::initializer_list<LayoutStep> steps, Progress& progress) noexcept;

/// Writes the pixels of one accessed bitmap into another of the same depth and the size that the layout makes. Takes
/// bounded memory for storage that is not memory.
int move_pixels(BITMAPHANDLE& from, BITMAPHANDLE& to, Layout layout, Progress& progress) noexcept;

/// Exchanges a bitmap's resolutions, as rows and columns are.
void swap_resolutions(BITMAPHANDLE& bitmap) noexcept;

} // namespace vk
