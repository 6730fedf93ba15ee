// Device contexts and regions of the Windows display system. `platform/win32/Context.cpp` implements this; there is
// nothing of the kind elsewhere.
#pragma once

#if defined(_WIN32)

#include "Vktypes.h"

#include <cstdint>

namespace vk::platform {

/// The colours of a picture of up to 8 bits per pixel; of no entries for deeper ones.
struct Colors {
    const RGBQUAD* entries = nullptr;
    uint32_t count = 0;
};

/// A context with a picture of its own in memory, top row first; rows are multiples of 4 bytes, zero at first.
struct Canvas {
    HDC context = nullptr;
    HBITMAP picture = nullptr;
    HGDIOBJ before = nullptr; ///< what was selected first
    uint8_t* pixels = nullptr;
};

/// Makes a picture of 1, 4, 8, 24 or 32 bits. False with nothing made.
bool canvas_create(Canvas* canvas, int32_t width, int32_t height, int32_t bits, Colors colors) noexcept;
void canvas_delete(const Canvas& canvas) noexcept;

/// Has everything drawn that was asked for.
void finish_drawing() noexcept;

/// The box that a context can show something in, in its coordinates. False: no context.
bool context_box(HDC context, RECT* box) noexcept;

/// The colours of a context that shows no others: a display's palette, or the table of the picture selected into it.
/// `entries` has room for 256; 0 where it shows any.
uint32_t context_palette(HDC context, RGBQUAD* entries) noexcept;

/// Draws rows of 8 or 24 bits, the top one first, to a rectangle of their size.
bool context_draw(HDC context, const RECT& to, int32_t bits, const uint8_t* rows, Colors colors) noexcept;

/// Copies what a context shows from a point on to a canvas's first rows.
bool context_read(HDC context, int32_t left, int32_t top, const Canvas& canvas, int32_t width, int32_t rows) noexcept;

/// A region of rectangles; null without memory.
HRGN region_create(const RECT* rects, uint32_t count) noexcept;

/// What came of reading one.
enum class RegionRead : uint8_t { done, no_region, no_memory };
/// Gives a region's rectangles: from the top down in bands of equal height, each from the left. The block is the
/// caller's; see region_rects_free.
RegionRead region_read(HRGN region, void** block, const RECT** rects, uint32_t* count) noexcept;
void region_rects_free(void* block) noexcept;

} // namespace vk::platform

#endif
