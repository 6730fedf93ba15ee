// Error diffusion of colours by Floyd-Steinberg's weights, on its own way. See FloydSteinberg.h.
#include "kernel/dither/FloydSteinberg.h"

#include "kernel/dither/Fast.h"

namespace vk::dither {

template <> void diffuse_colors<DITHER_FLOYD_STEINBERG>(DitherState& state, int32_t rows) noexcept
{
    with_match(state, [&](const auto& match) {
        using Match = std::remove_cvref_t<decltype(match)>;
        if (rows == 1) {
            FloydSteinberg<1, Match>(state, match).run();
        } else {
            FloydSteinberg<wave_rows(DITHER_FLOYD_STEINBERG), Match>(state, match).run();
        }
    });
}

} // namespace vk::dither
