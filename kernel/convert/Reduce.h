// The arithmetic between working forms. Every rule about which bits count, in which order, is in Reduce.cpp.
#pragma once

#include "kernel/convert/Plan.h"

namespace vk::pixel {

/// Sets the plan's reduce step and fills the tables it needs; formats, ranges, palettes and transparency are set.
void prepare_reduce(Plan& plan, COLORREF transparent, bool transparent_used) noexcept;

/// The high bytes of all channels.
void narrow_colors(const Rgba16* from, Rgba8* to, size_t count) noexcept;

/// Samples as the levels that GrayRange::level gives.
void find_levels(const GrayRange& range, const uint32_t* samples, uint8_t* levels, size_t count) noexcept;

/// Full alpha everywhere but at the transparent colour.
void set_alpha8(Rgba8* pixels, size_t count, uint32_t transparent) noexcept;
void set_alpha16(Rgba16* pixels, size_t count, uint32_t transparent) noexcept;

} // namespace vk::pixel
