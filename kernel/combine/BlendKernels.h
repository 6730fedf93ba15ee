// The inner loops of the blends that are asked for most, all of them source over, at 8 bits a channel. Each does as
// many pixels as its vectors take, or with masks all, gives what BlendFormula.h gives for them, and returns the number.
#pragma once

#include "simd/Level.h"

#include <cstddef>

namespace vk::combine {

using BlendLoop = size_t(const uint8_t* from, uint8_t* to, const uint8_t* mask, size_t count) noexcept;

struct BlendLoops {
    // Pixels of four bytes, alpha last; there is no mask. With alphas a and b of source and destination, the
    // premultiplied form is
    //     min(255, s + d (255 - a) / 255)
    // for all channels, and the straight one
    //     (255 a s + b (255 - a) d) / (255 a + b (255 - a))
    // for colours, which over opaque pixels is a mix under a as below.
    BlendLoop* over_premultiplied;
    BlendLoop* over_straight;
    // Opaque pixels of one or three bytes under a mask m: (m s + (255 - m) d) / 255.
    BlendLoop* mix_gray;
    BlendLoop* mix_24;
};

VK_SIMD_TABLE(BlendLoops, blend_loops);

} // namespace vk::combine
