// The body of diffuse_colors, instantiated once per method.
#pragma once

#include "kernel/dither/Diffuse.h"
#include "kernel/dither/Fast.h"
#include "kernel/dither/Wave.h"

namespace vk::dither {

template <int32_t Method, int32_t Rows, class Match> void diffuse_rows(DitherState& state, const Match& match) noexcept
{
    using Stepper = ColorStepper<Method, Match>;
    Stepper rows[static_cast<size_t>(Rows)] = {};
    for (int32_t r = 0; r < Rows; ++r) {
        rows[r].start(state, match, r);
    }
    run_wave<Rows>(state, rows, diffusion_of(Method).reach + 1);
}

template <int32_t Method> void diffuse_colors(DitherState& state, int32_t rows) noexcept
{
    with_match(state, [&](const auto& match) {
        if (rows == 1) {
            diffuse_rows<Method, 1>(state, match);
        } else {
            diffuse_rows<Method, wave_rows(Method)>(state, match);
        }
    });
}

} // namespace vk::dither
