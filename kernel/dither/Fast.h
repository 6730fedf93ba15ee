// The fast paths' entries, by kind of run.
#pragma once

#include "kernel/dither/State.h"

namespace vk::dither {

/// Error diffusion of colours, 1 or wavefront_rows() rows. One function per method, each in a file of its own so that
/// they compile side by side.
template <int32_t Method> void diffuse_colors(DitherState& state, int32_t rows) noexcept;
template <> void diffuse_colors<DITHER_FLOYD_STEINBERG>(DitherState& state, int32_t rows) noexcept;
extern template void diffuse_colors<DITHER_STUCKI>(DitherState&, int32_t) noexcept;
extern template void diffuse_colors<DITHER_BURKES>(DitherState&, int32_t) noexcept;
extern template void diffuse_colors<DITHER_SIERRA>(DitherState&, int32_t) noexcept;
extern template void diffuse_colors<DITHER_STEVENSON_ARCE>(DitherState&, int32_t) noexcept;
extern template void diffuse_colors<DITHER_JARVIS>(DitherState&, int32_t) noexcept;

/// The same for a single gray.
void diffuse_grays(DitherState& state, int32_t rows) noexcept;

/// One row without error: each colour or level by itself, offset by the thresholds of an ordered method.
void map_colors(DitherState& state) noexcept;
void map_grays(DitherState& state) noexcept;

/// Rows a method's wavefront takes. Methods with more weights fill the registers with fewer rows.
constexpr int32_t wave_rows(int32_t method) noexcept
{
    return method == DITHER_FLOYD_STEINBERG ? kMostRows : 2;
}

} // namespace vk::dither
