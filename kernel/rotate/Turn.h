// Turns as maps that pixels are taken through (sampling/): the positions of Geometry.h, as they are.
#pragma once

#include "kernel/rotate/Geometry.h"
#include "kernel/sampling/Mapping.h"

namespace vk::rotate {

/// What is taken at a position: the pixel whose square holds it, or those around it, mixed.
enum class Taken : uint8_t { nearest, mixed };

class Turn final : public sampling::Mapping {
public:
    Turn(const Geometry& geometry, Taken taken) noexcept
        : Mapping({geometry.width, geometry.height}, {geometry.canvas_width, geometry.canvas_height}),
          geometry_(geometry), taken_(taken)
    {}

    /// For one sample a pixel, at the reach of what is taken.
    bool follow(const sampling::Raster& raster, const sampling::Reach& reach, int64_t row, int64_t begin, int64_t end,
                sampling::Track& track) const noexcept override;
    sampling::Spacing spacing(int32_t, int32_t, int32_t) const noexcept override { return {1, 1}; }
    sampling::Seen seen(const sampling::Box& box) const noexcept override;

private:
    const Geometry& geometry_;
    Taken taken_;
};

} // namespace vk::rotate
