// Error diffusion of colours by Floyd-Steinberg's weights, on its own way. See FloydSteinberg.h.
#include "kernel/dither/FloydSteinberg.h"

#include "kernel/dither/Fast.h"

namespace vk::dither {

template <> void diffuse_colors<DITHER_FLOYD_STEINBERG>(DitherState& state, int32_t rows) noexcept
{
    with_match(state, [&](const auto& match) {
        using Match = std::remove_cvref_t<decltype(match)>;
        const auto run = [&]<int32_t kRows>() __attribute__((always_inline))
        {
            if (state.team == nullptr) {
                FloydSteinberg<kRows, Match>(state, match).run();
                return;
            }
            const Gate gate(state, kRows);
            gate.wait(1);
            FloydSteinberg<kRows, Match>(state, match).run(gate);
        };
        if (rows == 1) {
            run.template operator()<1>();
        } else {
            run.template operator()<wave_rows(DITHER_FLOYD_STEINBERG)>();
        }
    });
}

} // namespace vk::dither
