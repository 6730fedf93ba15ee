// Turns as maps that pixels are mixed through (sampling/): the positions of Geometry.h, as they are.
#pragma once

#include "kernel/rotate/Geometry.h"
#include "kernel/sampling/Mapping.h"

namespace vk::rotate {

class Turn final : public sampling::Mapping {
public:
    explicit Turn(const Geometry& geometry) noexcept
        : Mapping({geometry.width, geometry.height}, {geometry.canvas_width, geometry.canvas_height}),
          geometry_(geometry)
    {}

    /// For one sample a pixel, linear or cubic.
    bool follow(const sampling::Raster& raster, const sampling::Reach& reach, int64_t row, int64_t begin, int64_t end,
                sampling::Track& track) const noexcept override;
    sampling::Spacing spacing(int32_t, int32_t, int32_t) const noexcept override { return {1, 1}; }
    sampling::Seen seen(const sampling::Box& box) const noexcept override;

private:
    const Geometry& geometry_;
};

} // namespace vk::rotate
