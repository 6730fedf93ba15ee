// Prediction of samples from their neighbours. A sample is predicted as left + above - clamp(above left), the last held
// between the other two: the median of left, above and their gradient. What remains is coded, in a context that tells
// how well the neighbours above were predicted.
//
// Planes of one byte per sample have room around them, so that 16 samples can be handled at a time: kPadLeft bytes
// before a row and kPadRight behind it, one row above the first, and rows up to a multiple of kWaveRows. The room left
// of a row and above the first must be clear; what lies to the right of a row of residuals must be too.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vk::codec {

constexpr size_t kPadLeft = 16;
constexpr size_t kPadRight = 32;
constexpr uint32_t kWaveRows = 16; ///< rows whose prediction is undone side by side
constexpr uint32_t kContexts = 6;

/// One plane in memory that its user owns.
struct Plane {
    uint8_t* memory = nullptr;
    size_t stride = 0;
    uint32_t width = 0;
    uint32_t rows = 0;

    static constexpr size_t stride_of(uint32_t width) noexcept
    {
        return (kPadLeft + size_t{width} + kPadRight + 15) & ~size_t{15};
    }
    static constexpr size_t bytes_of(uint32_t width, uint32_t rows) noexcept
    {
        return stride_of(width) * (1 + (size_t{rows} + kWaveRows - 1) / kWaveRows * kWaveRows);
    }
    static Plane at(uint8_t* memory, uint32_t width, uint32_t rows) noexcept
    {
        return Plane{memory, stride_of(width), width, rows};
    }

    /// Row `row`; -1 is the one above the first.
    uint8_t* row(int64_t row) const noexcept { return memory + static_cast<size_t>(row + 1) * stride + kPadLeft; }
};

/// Writes the residuals of one row; up to 15 bytes behind it are written too.
void predict_row(const uint8_t* row, const uint8_t* above, uint8_t* residuals, uint32_t width) noexcept;

/// Contexts of the samples below a row of residuals; up to 15 more are written.
void contexts_below(const uint8_t* residuals, uint8_t* contexts, uint32_t width) noexcept;

/// Turns the residuals of a plane into samples, in place. The room around it does not stay clear. The plain form gives
/// the same samples.
void restore_plane(const Plane& plane) noexcept;
void restore_plane_plain(const Plane& plane) noexcept;

} // namespace vk::codec
