// The dithering methods, once: a row per method. What is asked of one, what runs it, what the command calls it and what
// the tests go through come from here.
//
// Constants alone, so that programs beside the library may include it.
#pragma once

#include "Vkdither.h"

#include <cstddef>
#include <cstdint>
#include <utility>

namespace vk::dither {

/// Offsets of weights go from -kMaxReach to kMaxReach.
constexpr int32_t kMaxReach = 3;
constexpr int32_t kMaxDepth = 3;

/// Error diffusion. Weights are numerators over `divisor`.
struct Diffusion {
    int32_t divisor;
    int32_t reach;                               ///< farthest column that gets error, either way
    int32_t depth;                               ///< rows below that get error
    int32_t ahead[kMaxReach];                    ///< current row, columns x + 1 on
    int32_t below[kMaxDepth][2 * kMaxReach + 1]; ///< rows below, columns x - 3 to x + 3
};

/// Thresholds by row and column, modulo 8.
using Thresholds = uint8_t[8][8];

/// The repeated 232 is meant.
constexpr Thresholds kDispersed = {
    {0, 128, 32, 160, 8, 136, 40, 168},   {192, 64, 224, 96, 200, 72, 232, 104},
    {48, 176, 16, 144, 56, 184, 24, 152}, {236, 112, 208, 80, 244, 120, 216, 88},
    {12, 140, 44, 172, 4, 132, 36, 164},  {204, 76, 232, 108, 196, 68, 228, 100},
    {60, 188, 28, 156, 52, 180, 20, 148}, {248, 124, 220, 92, 240, 116, 212, 84},
};
constexpr Thresholds kInDots = {
    {112, 40, 72, 104, 144, 176, 208, 136}, {88, 8, 16, 48, 192, 232, 240, 168},
    {56, 24, 0, 80, 160, 224, 248, 200},    {96, 64, 32, 120, 128, 216, 184, 152},
    {148, 180, 212, 140, 116, 44, 76, 108}, {196, 236, 244, 172, 92, 12, 20, 52},
    {164, 228, 252, 204, 60, 28, 4, 84},    {132, 220, 188, 156, 100, 68, 36, 124},
};

/// A method of which neither is there gives each pixel its nearest colour. Rows of error diffusion go side by side, but
/// methods with more weights fill the registers with fewer.
struct Method {
    int32_t number; ///< DITHER_ value, and place in the table
    const char* name;
    Diffusion diffusion = {};
    int32_t wave_rows = 0;
    const Thresholds* thresholds = nullptr;

    constexpr bool diffuses() const noexcept { return diffusion.divisor != 0; }
    constexpr bool is_ordered() const noexcept { return thresholds != nullptr; }
};

constexpr Method kMethods[] = {
    {DITHER_NONE, "none"},
    {DITHER_FLOYD_STEINBERG, "floyd-steinberg", {16, 1, 1, {7}, {{0, 0, 3, 5, 1, 0, 0}}}, 6},
    {DITHER_STUCKI, "stucki", {42, 2, 2, {8, 4}, {{0, 2, 4, 8, 4, 2, 0}, {0, 1, 2, 4, 2, 1, 0}}}, 2},
    {DITHER_BURKES, "burkes", {32, 2, 1, {8, 4}, {{0, 2, 4, 8, 4, 2, 0}}}, 2},
    {DITHER_SIERRA, "sierra", {32, 2, 2, {5, 3}, {{0, 2, 4, 5, 4, 2, 0}, {0, 0, 2, 3, 2, 0, 0}}}, 2},
    {DITHER_STEVENSON_ARCE,
     "stevenson-arce",
     {200, 3, 3, {0, 32}, {{12, 0, 26, 0, 30, 0, 16}, {0, 12, 0, 26, 0, 12, 0}, {5, 0, 12, 0, 12, 0, 5}}},
     2},
    {DITHER_JARVIS, "jarvis", {48, 2, 2, {7, 5}, {{0, 3, 5, 7, 5, 3, 0}, {0, 1, 3, 5, 3, 1, 0}}}, 2},
    {DITHER_ORDERED, "ordered", {}, 0, &kDispersed},
    {DITHER_CLUSTERED, "clustered", {}, 0, &kInDots},
};
constexpr int32_t kMethodCount = sizeof kMethods / sizeof kMethods[0];

constexpr bool is_method(int32_t method) noexcept
{
    return method >= 0 && method < kMethodCount;
}
constexpr bool is_diffusion(int32_t method) noexcept
{
    return kMethods[method].diffuses();
}
constexpr bool is_ordered(int32_t method) noexcept
{
    return kMethods[method].is_ordered();
}
/// All 0 for a method that diffuses nothing.
constexpr const Diffusion& diffusion_of(int32_t method) noexcept
{
    return kMethods[method].diffusion;
}

consteval int32_t most_wave_rows() noexcept
{
    int32_t most = 0;
    for (const Method& method : kMethods)
        most = method.wave_rows > most ? method.wave_rows : most;
    return most;
}

/// What an ordered method adds to a channel: exactly m / bits - 128 / bits, each division by itself.
constexpr int32_t ordered_offset(int32_t method, uint32_t row, uint32_t column, int32_t bits) noexcept
{
    return (*kMethods[method].thresholds)[row & 7u][column & 7u] / bits - 128 / bits;
}

/// Calls `act` with a method of error diffusion as a constant.
template <class Act> constexpr void with_diffusion(int32_t method, Act&& act) noexcept
{
    [&]<size_t... kRow>(std::index_sequence<kRow...>) noexcept
    {
        const auto try_row = [&]<size_t kAt>() noexcept {
            if constexpr (kMethods[kAt].diffuses())
                if (kMethods[kAt].number == method)
                    act.template operator()<kMethods[kAt].number>();
        };
        (try_row.template operator()<kRow>(), ...);
    }
    (std::make_index_sequence<static_cast<size_t>(kMethodCount)>{});
}

/// Numbers are places; a method is of one kind, and hands out no more error than there is, no farther than it says.
consteval bool is_sound(const Method& method) noexcept
{
    const Diffusion& diffusion = method.diffusion;
    int32_t sum = 0;
    for (int32_t i = 0; i < kMaxReach; ++i) {
        sum += diffusion.ahead[i];
        if (diffusion.ahead[i] != 0 && i >= diffusion.reach)
            return false;
    }
    for (int32_t depth = 0; depth < kMaxDepth; ++depth)
        for (int32_t at = 0; at <= 2 * kMaxReach; ++at) {
            const int32_t weight = diffusion.below[depth][at];
            const int32_t offset = at < kMaxReach ? kMaxReach - at : at - kMaxReach;
            sum += weight;
            if (weight != 0 && (depth >= diffusion.depth || offset > diffusion.reach))
                return false;
        }
    return sum <= diffusion.divisor && method.diffuses() == (method.wave_rows > 0) &&
           !(method.diffuses() && method.is_ordered());
}
consteval bool are_methods_sound() noexcept
{
    for (int32_t i = 0; i < kMethodCount; ++i)
        if (kMethods[i].number != i || !is_sound(kMethods[i]))
            return false;
    return true;
}
static_assert(are_methods_sound());

} // namespace vk::dither
