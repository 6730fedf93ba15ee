// Error diffusion of a single gray: one number where colours have a vector. See Diffuse.h for how error waits.
#include "kernel/dither/Each.h"
#include "kernel/dither/Fast.h"
#include "kernel/dither/Wave.h"

#include <algorithm>

namespace vk::dither {
namespace {

template <int32_t Method> class GrayStepper {
    static constexpr const Diffusion& kMethod = kMethods[Method].diffusion;
    static constexpr size_t kReach = static_cast<size_t>(kMethod.reach);
    static constexpr size_t kDepth = static_cast<size_t>(kMethod.depth);
    static constexpr size_t kWaiting = 2 * kReach;

public:
    void start(const DitherState& state, int32_t slot) noexcept
    {
        const auto at = static_cast<size_t>(slot);
        const uint64_t row = state.row + at;
        levels_ = reinterpret_cast<const uint8_t*>(state.work + at * static_cast<size_t>(state.width));
        indices_ = state.indices + at * state.index_pitch;
        choices_ = state.gray_choices;
        errors_ = error_row(state, row) + kReach;
        for (size_t d = 0; d < kDepth; ++d) {
            below_[d] = error_row(state, row + d + 1);
        }
    }

    [[gnu::always_inline]] void step(int64_t x) noexcept
    {
        const int32_t carried = (ahead_[0] + errors_[x]) / kMethod.divisor; // toward zero
        const int32_t adjusted = std::clamp(levels_[x] + carried, 0, 255);
        const uint32_t choice = choices_[adjusted];
        indices_[x] = static_cast<uint8_t>(choice >> 24);
        spread(adjusted - blue_of(choice), x);
    }

    void finish(int64_t width) noexcept
    {
        each<kDepth>(
            [&](auto d) { each<kWaiting>([&](auto i) { put<d>(width + static_cast<int64_t>(i), waiting_[d][i]); }); });
    }

private:
    template <size_t D> void put(int64_t column, int32_t value) noexcept
    {
        int32_t* to = below_[D] + column;
        *to = D + 1 == kDepth ? value : *to + value;
    }

    [[gnu::always_inline]] void spread(int32_t error, int64_t x) noexcept
    {
        each<kReach>([&](auto i) __attribute__((always_inline)) {
            ahead_[i] = (i + 1 < kReach ? ahead_[i + 1 < kReach ? i + 1 : 0] : 0) + kMethod.ahead[i] * error;
        });
        each<kDepth>([&](auto d) __attribute__((always_inline)) {
            constexpr size_t kFirst = static_cast<size_t>(kMaxReach) - kReach;
            put<d>(x, waiting_[d][0] + kMethod.below[d][kFirst] * error);
            each<kWaiting>([&](auto i) __attribute__((always_inline)) {
                waiting_[d][i] = (i + 1 < kWaiting ? waiting_[d][i + 1 < kWaiting ? i + 1 : 0] : 0) +
                                 kMethod.below[d][kFirst + 1 + i] * error;
            });
        });
    }

    const uint8_t* levels_ = nullptr;
    uint8_t* indices_ = nullptr;
    const uint32_t* choices_ = nullptr;
    const int32_t* errors_ = nullptr; ///< from column 0 on
    int32_t* below_[kDepth] = {};     ///< from the margin's first column on
    int32_t ahead_[kReach] = {};
    int32_t waiting_[kDepth][kWaiting] = {};
};

template <int32_t Method, int32_t Rows> void diffuse_rows(DitherState& state) noexcept
{
    GrayStepper<Method> rows[static_cast<size_t>(Rows)] = {};
    for (int32_t r = 0; r < Rows; ++r) {
        rows[r].start(state, r);
    }
    run_wave<Rows>(state, rows, diffusion_of(Method).reach + 1);
}

template <int32_t Method> void diffuse(DitherState& state, int32_t rows) noexcept
{
    if (rows == 1) {
        diffuse_rows<Method, 1>(state);
    } else {
        diffuse_rows<Method, wave_rows(Method)>(state);
    }
}

} // namespace

void diffuse_grays(DitherState& state, int32_t rows) noexcept
{
    with_diffusion(state.method, [&]<int32_t kMethod>() noexcept { diffuse<kMethod>(state, rows); });
}

} // namespace vk::dither
