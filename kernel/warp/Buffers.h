// Buffers of pixels turned. The pixels do not overlap those they become; bits of a row's last byte that belong to no
// pixel end clear, and no byte behind is touched.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vk {

struct PixelBuffer {
    const uint8_t* data;
    size_t stride;
    int32_t width;
    int32_t height;
    int32_t bits; ///< a depth that bitmaps have
};

void quarter_turn(const PixelBuffer& from, uint8_t* to, size_t to_stride, bool is_clockwise) noexcept;
void half_turn(const PixelBuffer& from, uint8_t* to, size_t to_stride) noexcept;

} // namespace vk
