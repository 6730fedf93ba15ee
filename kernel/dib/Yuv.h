// YUV layouts of DIBs to 24-bit BGR. Two formulas are in use, by layout: full range in thousandths with divisions that
// truncate, studio range in 1024ths with shifts. Yuv.cpp has the layouts and the plain form, YuvKernel.h leads
// to the fast forms; they give the same bytes.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vk::dib {

/// How samples lie. In the packed ones, pixels share chroma with their neighbours in the row; in the planar ones a
/// plane of luma is followed by two of chroma, one sample for each square of 2 x 2 or 4 x 4 pixels.
enum class YuvLayout : uint8_t { yuy2, uyvy, yvyu, y41p, y211, planar2, planar4 };

struct YuvFormat {
    uint32_t code;
    YuvLayout layout;
    bool full_range;
    bool v_first;       ///< of the chroma planes
    bool upside_down;   ///< a positive height means that the top row comes first
    int32_t width_step; ///< width and height are multiples
    int32_t height_step;
    int32_t bits; ///< per pixel, as the header has to say

    bool planar() const noexcept { return layout == YuvLayout::planar2 || layout == YuvLayout::planar4; }
};

/// The format of a compression code; null for all others.
const YuvFormat* find_yuv(uint32_t code) noexcept;

/// Bytes of a picture whose sizes the format allows.
uint64_t yuv_bytes(const YuvFormat& format, uint32_t width, uint32_t height) noexcept;

/// Converts `rows` rows from row `first` on of a picture of `width` x `height` pixels. Target rows are `stride` bytes
/// apart; bytes behind a row's pixels stay.
struct YuvPicture {
    const YuvFormat* format;
    const uint8_t* samples;
    uint32_t width;
    uint32_t height;
};
void convert_yuv(const YuvPicture& picture, uint32_t first, uint32_t rows, uint8_t* to, size_t stride) noexcept;

/// One pixel, by the formulas as they are written down.
void full_range_pixel(int32_t y, int32_t u, int32_t v, uint8_t* bgr) noexcept;
void studio_pixel(int32_t y, int32_t u, int32_t v, uint8_t* bgr) noexcept;

} // namespace vk::dib
