// Logical palettes, the display's own palette and its resolution. On Windows they are GDI's; elsewhere they are small
// blocks of ours, and the display is never palette-based. `platform/win32/Display.cpp` and `platform/posix/Display.cpp`
// implement this.
#pragma once

#include "Vktypes.h"

#include <cstdint>

namespace vk::platform {

/// Most entries of a palette object that we make or read.
constexpr uint32_t kMaxObjectEntries = 256;

/// A new object of 1 to 256 entries, whose flags are the reserved bytes; null without memory.
HPALETTE palette_create(const RGBQUAD* entries, uint32_t count) noexcept;

/// Frees an object; false when it is none.
bool palette_delete(HPALETTE palette) noexcept;

/// Number of entries; 0 for null or what is no palette.
uint32_t palette_size(HPALETTE palette) noexcept;

/// Copies entries from `start` on, flags into the reserved bytes; the number copied, cut at the palette's end.
uint32_t palette_read(HPALETTE palette, uint32_t start, uint32_t count, RGBQUAD* entries) noexcept;

/// Index of the entry that the platform holds nearest to a colour without form byte.
uint32_t palette_nearest(HPALETTE palette, COLORREF color) noexcept;

/// Pixels per metre of the display. False, with nothing written, where there is no display to ask or it does not say.
bool display_resolution(int32_t* horizontal, int32_t* vertical) noexcept;

/// The display's palette as up to 256 entries; 0 when the display has none.
uint32_t display_palette(RGBQUAD* entries) noexcept;

} // namespace vk::platform
