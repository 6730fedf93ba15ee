// One row of YUV samples, in the forms that have a fast kernel: luma and chroma either interleaved in fours of bytes
// for two pixels, or in separate rows with one chroma sample for two pixels.
#pragma once

#include "simd/Level.h"

#include <cstddef>
#include <cstdint>

namespace vk::dib {

/// A row's samples. Packed: `y` points at the first luma byte, `u` and `v` at the first chroma bytes, luma bytes are
/// two and chroma bytes four apart. Planar: all are one apart.
struct YuvRow {
    const uint8_t* y;
    const uint8_t* u;
    const uint8_t* v;

    YuvRow packed_from(uint32_t x) const noexcept { return {y + 2 * size_t{x}, u + 2 * size_t{x}, v + 2 * size_t{x}}; }
    YuvRow planar_from(uint32_t x) const noexcept { return {y + x, u + x / 2, v + x / 2}; }
};

/// Converts the first pixels of a row, as many as come in whole steps; returns their number. Reads no byte outside the
/// row's samples and writes none behind its pixels. With `streams`, for rows at multiples of a vector's bytes, writes
/// go past the caches; the caller ends them with a fence.
using YuvKernel = uint32_t(const YuvRow& row, uint32_t width, uint8_t* bgr, bool streams) noexcept;

struct YuvLoops {
    size_t vector_bytes;
    YuvKernel* yuy2_full;
    YuvKernel* uyvy_studio;
    YuvKernel* yvyu_studio;
    YuvKernel* planar_studio;
};

VK_SIMD_TABLE(YuvLoops, yuv_loops);

} // namespace vk::dib
