// Error diffusion on one row, or on several side by side: a row follows the one above it by `reach + 1` columns, when
// all error that reaches it is known. The rows' chains of dependent steps then overlap, and the result is the same.
//
// A Stepper does one row's pixels from left to right: `start` (row of the run, row of working memory), `step(column)`,
// `finish`.
#pragma once

#include "kernel/dither/Each.h"
#include "kernel/dither/Team.h"

#include <cstdint>

namespace vk::dither {

/// Runs Rows steppers over `width` columns, each `lag` behind the one above. With a gate the first row is behind the
/// row above, too.
template <int32_t Rows, class Stepper>
[[gnu::always_inline]] inline void run_wave(Stepper (&rows)[static_cast<size_t>(Rows)], int32_t width, int32_t lag,
                                            const Gate* gate) noexcept
{
    const int64_t ramp = static_cast<int64_t>(Rows - 1) * lag;
    const auto guarded = [&](int64_t from, int64_t to) {
        for (int64_t t = from; t < to; ++t) {
            for (int32_t r = 0; r < Rows; ++r) {
                const int64_t x = t - static_cast<int64_t>(r) * lag;
                if (x >= 0 && x < width) {
                    rows[r].step(x);
                } else if (x == width) {
                    rows[r].finish(width); // the rows below still need its last columns
                }
            }
        }
    };
    const int64_t end = width + ramp + 1;
    for (int64_t t = 0; t < end;) {
        const int64_t stop = gate ? std::min(t + kStretch, end) : end;
        if (gate) {
            gate->wait(stop);
        }
        const int64_t first = std::min(std::max(t, ramp), stop);
        const int64_t last = std::max(std::min<int64_t>(width, stop), first);
        guarded(t, first);
        for (t = first; t < last; ++t) {
            each<static_cast<size_t>(Rows)>([&](auto r) __attribute__((always_inline)) {
                rows[r].step(t - static_cast<int64_t>(r) * lag);
            });
        }
        guarded(t, stop);
        t = stop;
        if (gate) {
            // The last columns are complete when the last row has finished.
            gate->tell(t == end ? width : std::min<int64_t>(t - ramp - lag, width - 1));
        }
    }
}

/// Runs steppers for rows from the state's row on.
template <int32_t Rows, class Stepper>
void run_wave(const DitherState& state, Stepper (&rows)[static_cast<size_t>(Rows)], int32_t lag) noexcept
{
    if (state.team == nullptr) {
        run_wave<Rows>(rows, state.width, lag, nullptr);
        return;
    }
    const Gate gate(state, Rows);
    run_wave<Rows>(rows, state.width, lag, &gate);
}

} // namespace vk::dither
