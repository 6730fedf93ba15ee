// The dithering methods as data: weights of error diffusion, thresholds of the ordered methods.
#pragma once

#include "Vkdither.h"

#include <cstdint>

namespace vk::dither {

/// Offsets of weights go from -kMaxReach to kMaxReach.
constexpr int32_t kMaxReach = 3;
constexpr int32_t kMaxDepth = 3;

/// An error-diffusion method. Weights are numerators over `divisor`.
struct Diffusion {
    int32_t divisor;
    int32_t reach;                               ///< farthest column that gets error, either way
    int32_t depth;                               ///< rows below that get error
    int32_t ahead[kMaxReach];                    ///< current row, columns x + 1 on
    int32_t below[kMaxDepth][2 * kMaxReach + 1]; ///< rows below, columns x - 3 to x + 3
};

/// By method; the first entry is for none.
constexpr Diffusion kDiffusions[] = {
    {},
    {16, 1, 1, {7}, {{0, 0, 3, 5, 1, 0, 0}}},
    {42, 2, 2, {8, 4}, {{0, 2, 4, 8, 4, 2, 0}, {0, 1, 2, 4, 2, 1, 0}}},
    {32, 2, 1, {8, 4}, {{0, 2, 4, 8, 4, 2, 0}}},
    {32, 2, 2, {5, 3}, {{0, 2, 4, 5, 4, 2, 0}, {0, 0, 2, 3, 2, 0, 0}}},
    {200, 3, 3, {0, 32}, {{12, 0, 26, 0, 30, 0, 16}, {0, 12, 0, 26, 0, 12, 0}, {5, 0, 12, 0, 12, 0, 5}}},
    {48, 2, 2, {7, 5}, {{0, 3, 5, 7, 5, 3, 0}, {0, 1, 3, 5, 3, 1, 0}}},
};

constexpr bool is_method(int32_t method) noexcept
{
    return method >= DITHER_NONE && method <= DITHER_CLUSTERED;
}
constexpr bool is_diffusion(int32_t method) noexcept
{
    return method >= DITHER_FLOYD_STEINBERG && method <= DITHER_JARVIS;
}
constexpr bool is_ordered(int32_t method) noexcept
{
    return method == DITHER_ORDERED || method == DITHER_CLUSTERED;
}

/// Thresholds by row and column, modulo 8. The repeated 232 of the first matrix is meant.
constexpr uint8_t kOrdered[8][8] = {
    {0, 128, 32, 160, 8, 136, 40, 168},   {192, 64, 224, 96, 200, 72, 232, 104},
    {48, 176, 16, 144, 56, 184, 24, 152}, {236, 112, 208, 80, 244, 120, 216, 88},
    {12, 140, 44, 172, 4, 132, 36, 164},  {204, 76, 232, 108, 196, 68, 228, 100},
    {60, 188, 28, 156, 52, 180, 20, 148}, {248, 124, 220, 92, 240, 116, 212, 84},
};
constexpr uint8_t kClustered[8][8] = {
    {112, 40, 72, 104, 144, 176, 208, 136}, {88, 8, 16, 48, 192, 232, 240, 168},
    {56, 24, 0, 80, 160, 224, 248, 200},    {96, 64, 32, 120, 128, 216, 184, 152},
    {148, 180, 212, 140, 116, 44, 76, 108}, {196, 236, 244, 172, 92, 12, 20, 52},
    {164, 228, 252, 204, 60, 28, 4, 84},    {132, 220, 188, 156, 100, 68, 36, 124},
};

/// What an ordered method adds to a channel: exactly m / bits - 128 / bits, each division by itself.
constexpr int32_t ordered_offset(int32_t method, uint32_t row, uint32_t column, int32_t bits) noexcept
{
    const auto& matrix = method == DITHER_ORDERED ? kOrdered : kClustered;
    return matrix[row & 7u][column & 7u] / bits - 128 / bits;
}

} // namespace vk::dither
