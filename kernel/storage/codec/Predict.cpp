// Prediction by vectors of 16 bytes. Undoing it is serial along a row, so 16 rows are worked on together, each one
// column behind the row above it: what a row needs from above is then what its neighbour made one step earlier.
#include "kernel/storage/codec/Predict.h"

#include "simd/Pick.h"
#include "simd/Simd.h"

#include <algorithm>
#include <cstring>

namespace vk::codec {

namespace {

using simd::load;
using simd::store;
using Bytes = simd::Quad<uint8_t>;

/// left + above - clamp(corner); the sum wraps and the difference brings it back.
Bytes clamped_corner(Bytes left, Bytes above, Bytes corner) noexcept
{
    return simd::min(simd::max(corner, simd::min(left, above)), simd::max(left, above));
}

/// 16 rows at once. In step s, row i handles column s - i; columns outside the row fall into the room around it.
void restore_wave(uint8_t* first, size_t stride, uint32_t width) noexcept
{
    const uint8_t* const above = first - stride;
    Bytes left{};
    Bytes corner{};
    Bytes block[kWaveRows];
    for (size_t step = 0; step < width + size_t{kWaveRows} - 1; step += kWaveRows) {
        for (size_t i = 0; i < kWaveRows; ++i)
            block[i] = load<Bytes>(first + i * stride + step - i);
        simd::transpose(block);
        for (size_t i = 0; i < kWaveRows; ++i) {
            const Bytes top = simd::as<uint8_t>(simd::first<simd::Quad<uint32_t>>(above[step + i]));
            const Bytes up = simd::move_up<1>(left) | top;
            const Bytes sum = up + block[i];
            left = (left + sum) - clamped_corner(left, up, corner);
            corner = up;
            block[i] = left;
        }
        simd::transpose(block);
        for (size_t i = 0; i < kWaveRows; ++i)
            store(first + i * stride + step - i, block[i]);
    }
}

void restore_row(uint8_t* row, const uint8_t* above, uint32_t width) noexcept
{
    uint8_t left = 0;
    uint8_t corner = 0;
    for (uint32_t x = 0; x < width; ++x) {
        const uint8_t up = above[x];
        const uint8_t clamped = std::clamp(corner, std::min(left, up), std::max(left, up));
        left = static_cast<uint8_t>(row[x] + left + up - clamped);
        row[x] = left;
        corner = up;
    }
}

} // namespace

void predict_row(const uint8_t* row, const uint8_t* above, uint8_t* residuals, uint32_t width) noexcept
{
    for (size_t x = 0; x < width; x += 16) {
        const auto left = load<Bytes>(row + x - 1);
        const auto up = load<Bytes>(above + x);
        const Bytes clamped = clamped_corner(left, up, load<Bytes>(above + x - 1));
        store(residuals + x, (load<Bytes>(row + x) - left) - (up - clamped));
    }
}

void contexts_below(const uint8_t* residuals, uint8_t* contexts, uint32_t width) noexcept
{
    constexpr uint8_t kLimits[kContexts - 1] = {2, 6, 12, 24, 48};
    const auto magnitude = [](const uint8_t* from) noexcept {
        const auto value = load<Bytes>(from);
        return simd::min(value, -value);
    };
    for (size_t x = 0; x < width; x += 16) {
        const Bytes middle = magnitude(residuals + x);
        const Bytes sides = simd::add_clamped(magnitude(residuals + x - 1), magnitude(residuals + x + 1));
        const Bytes sum = simd::add_clamped(simd::add_clamped(middle, middle), sides);
        Bytes context{};
        for (const uint8_t limit : kLimits)
            context = context - simd::keep(simd::max(sum, simd::all<Bytes>(limit)) == sum, simd::all<Bytes>(0xFF));
        store(contexts + x, context);
    }
}

void restore_plane(const Plane& plane) noexcept
{
    for (uint32_t y = 0; y < plane.rows; y += kWaveRows)
        restore_wave(plane.row(y), plane.stride, plane.width);
}

void restore_plane_plain(const Plane& plane) noexcept
{
    for (uint32_t y = 0; y < plane.rows; ++y)
        restore_row(plane.row(y), plane.row(int64_t{y} - 1), plane.width);
}

} // namespace vk::codec
