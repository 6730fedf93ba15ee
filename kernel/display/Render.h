// What a viewer shows of a bitmap, at any size, whole or in part.
#pragma once

#include "Vkdisplay.h"
#include "kernel/combine/Clip.h"

#include <cstdint>

namespace vk::display {

struct RenderJob {
    combine::Area part; ///< stored pixels, not empty
    int32_t width = 0;  ///< the size that the part is shown in, upright
    int32_t height = 0;
    combine::Area shown; ///< what is wanted of that, not empty
    uint32_t flags = 0;

    int32_t bits() const noexcept { return flags & RENDER_32BITS ? 32 : 24; }
};

constexpr uint32_t kFilterFlags = 0x03;

/// A job for what a bitmap has of a rectangle, or all of it; sizes of 0 become those of the pixels, and all is wanted.
/// The part is empty when nothing is left.
RenderJob render_job(const BITMAPHANDLE& bitmap, const RECT* part, int32_t width, int32_t height,
                     uint32_t flags) noexcept;

/// Makes the bitmap, of a source that check_rows accepts. On failure it is empty but for StructSize.
int render(BITMAPHANDLE& made, BITMAPHANDLE& source, uint32_t struct_size, const RenderJob& job) noexcept;

} // namespace vk::display
