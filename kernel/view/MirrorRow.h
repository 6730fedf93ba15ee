// Rows of pixels back to front, at every depth a bitmap may have. The last pixel comes first, from the first bit of the
// row on; bits of the last byte that belong to no pixel end clear. No byte outside the pixels is read or written.
#pragma once

#include "simd/Level.h"

#include <cstddef>
#include <cstdint>

namespace vk {

/// Writes the mirror image of `width` pixels to memory that does not overlap them.
void mirror_row(const uint8_t* from, uint8_t* to, int64_t width, int32_t bits) noexcept;

/// The same in place; other depths are left alone.
void mirror_row_in_place(uint8_t* row, int64_t width, int32_t bits) noexcept;

namespace turn {

struct MirrorLoops {
    /// Mirrors as many pixels from the end of the row on as full vectors allow, a number that fills bytes, and returns
    /// it.
    int64_t (*front)(const uint8_t* from, uint8_t* to, int64_t width, int32_t bits) noexcept;
};

VK_SIMD_TABLE(MirrorLoops, mirror_loops);

} // namespace turn

} // namespace vk
