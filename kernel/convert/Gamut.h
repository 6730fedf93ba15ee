// The wide-gamut steps, in place on working forms. Alpha is left alone.
#pragma once

#include "kernel/convert/Format.h"

#include <cstddef>

namespace vk::pixel {

/// From the standard colour space to the wide gamut. 16-bit results saturate; 8-bit ones cannot pass 255.
void forward_gamut(Rgba8* pixels, size_t count) noexcept;
void forward_gamut(Rgba16* pixels, size_t count) noexcept;

/// Back, clamped to the channel's range.
void inverse_gamut(Rgba8* pixels, size_t count) noexcept;
void inverse_gamut(Rgba16* pixels, size_t count) noexcept;

} // namespace vk::pixel
