// The plain path: one pixel after the other, as the methods are described. Everything faster gives the same rows.
#include "kernel/dither/State.h"

#include <algorithm>

namespace vk::dither {
namespace {

constexpr int32_t kChannels = 3;

/// The error rows around one row, each from its column 0 on.
struct ErrorRows {
    int32_t* current;
    int32_t* below[kMaxDepth];
};

constexpr int32_t channel(uint32_t color, int32_t which) noexcept
{
    return static_cast<int32_t>(color >> (8 * which) & 0xFFu);
}

constexpr uint32_t clamped(int32_t value) noexcept
{
    return static_cast<uint32_t>(std::clamp(value, 0, 255));
}

/// Adds each channel's error, times its weight, to the columns around `column`.
void spread(const Diffusion& method, const ErrorRows& rows, int32_t column, const int32_t (&error)[kChannels]) noexcept
{
    const auto add = [&](int32_t* row, int32_t at, int32_t weight) {
        for (int32_t c = 0; weight != 0 && c < kChannels; ++c) {
            row[4 * at + c] += weight * error[c];
        }
    };
    for (int32_t i = 0; i < method.reach; ++i) {
        add(rows.current, column + 1 + i, method.ahead[i]);
    }
    for (int32_t depth = 0; depth < method.depth; ++depth) {
        for (int32_t offset = -method.reach; offset <= method.reach; ++offset) {
            add(rows.below[depth], column + offset, method.below[depth][offset + kMaxReach]);
        }
    }
}

void diffuse_row(DitherState& state) noexcept
{
    const Diffusion& method = diffusion_of(state.method);
    ErrorRows rows{};
    const auto from_column_0 = [&](int32_t below) {
        return error_row(state, state.row + static_cast<uint64_t>(below)) + 4 * method.reach;
    };
    rows.current = from_column_0(0);
    for (int32_t depth = 0; depth < method.depth; ++depth) {
        rows.below[depth] = from_column_0(depth + 1);
    }
    for (int32_t x = 0; x < state.width; ++x) {
        uint32_t adjusted = 0;
        for (int32_t c = 0; c < kChannels; ++c) {
            const int32_t carried = rows.current[4 * x + c] / method.divisor; // toward zero
            adjusted |= clamped(channel(state.work[x], c) + carried) << (8 * c);
        }
        const uint32_t choice = match_plain(state, adjusted);
        state.indices[x] = static_cast<uint8_t>(choice >> 24);
        int32_t error[kChannels];
        for (int32_t c = 0; c < kChannels; ++c) {
            error[c] = channel(adjusted, c) - channel(choice, c);
        }
        spread(method, rows, x, error);
    }
    std::fill_n(error_row(state, state.row), state.error_pitch, 0); // the ring's deepest from now on
}

void map_row(DitherState& state) noexcept
{
    for (int32_t x = 0; x < state.width; ++x) {
        uint32_t color = state.work[x];
        if (is_ordered(state.method)) {
            const int32_t offset = ordered_offset(state.method, static_cast<uint32_t>(state.row),
                                                  static_cast<uint32_t>(x), state.dst_bits);
            uint32_t adjusted = 0;
            for (int32_t c = 0; c < kChannels; ++c) {
                adjusted |= clamped(channel(color, c) + offset) << (8 * c);
            }
            color = adjusted;
        }
        state.indices[x] = static_cast<uint8_t>(match_plain(state, color) >> 24);
    }
}

} // namespace

void plain_row(DitherState& state) noexcept
{
    if (is_diffusion(state.method)) {
        diffuse_row(state);
    } else {
        map_row(state);
    }
}

} // namespace vk::dither
