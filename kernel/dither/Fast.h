// The fast paths' entries, by kind of run.
#pragma once

#include "kernel/dither/State.h"

namespace vk::dither {

/// Error diffusion of colours, 1 or wavefront_rows() rows. One function per method, each in a file of its own so that
/// they compile side by side; where a method has none the library does not link.
template <int32_t Method> void diffuse_colors(DitherState& state, int32_t rows) noexcept;
template <> void diffuse_colors<DITHER_FLOYD_STEINBERG>(DitherState& state, int32_t rows) noexcept;

/// The same for a single gray.
void diffuse_grays(DitherState& state, int32_t rows) noexcept;

/// One row without error: each colour or level by itself, offset by the thresholds of an ordered method.
void map_colors(DitherState& state) noexcept;
void map_grays(DitherState& state) noexcept;

/// Rows a method's wavefront takes.
constexpr int32_t wave_rows(int32_t method) noexcept
{
    return kMethods[method].wave_rows;
}

} // namespace vk::dither
