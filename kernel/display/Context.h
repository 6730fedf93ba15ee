// Device contexts that bitmaps are drawn into by the system's calls, painted to, or made from. Windows only.
#pragma once

#if defined(_WIN32)

#include "Vkdisplay.h"
#include "kernel/display/Render.h"

namespace vk::display {

/// Makes a context of a bitmap that check_rows accepts; null when it cannot be had.
HDC create_context(BITMAPHANDLE& bitmap) noexcept;

/// V_ReleaseBitmapDC for a bitmap that is checked, or null.
int release_context(BITMAPHANDLE* bitmap, HDC context) noexcept;

/// V_PaintBitmap for a job of which all is wanted and its place in a context, whose sizes agree.
int paint_to_context(HDC context, BITMAPHANDLE& bitmap, RenderJob job, const RECT& to, const RECT* clip) noexcept;

/// Columns and rows of a context.
struct ContextPart {
    int32_t left;
    int32_t top;
    int32_t width;
    int32_t height;
};

/// V_GetBitmapFromDC for sizes above 0; on failure the record is empty but for StructSize.
int bitmap_from_context(BITMAPHANDLE& made, uint32_t struct_size, HDC context, const ContextPart& part) noexcept;

} // namespace vk::display

#endif
