// Windows on whole bitmaps.
#pragma once

#include "Vkwindow.h"

namespace vk {

/// V_SetBitmapWindow for an allocated bitmap and a checked window.
int set_bitmap_window(BITMAPHANDLE& bitmap, const V_WINDOW& window) noexcept;

/// V_WindowBitmap for a checked window, or null: replaces the bitmap, or makes another one; on failure its record is
/// empty but for StructSize.
int window_bitmap(BITMAPHANDLE& bitmap, const V_WINDOW* window, int32_t bits) noexcept;
int make_windowed(BITMAPHANDLE& made, BITMAPHANDLE& source, uint32_t struct_size, const V_WINDOW* window,
                  int32_t bits) noexcept;

} // namespace vk
