// Projective maps of the canvas to the source. Along a row both coordinates are a quotient of two linear functions, and
// linear where the map is affine.
#pragma once

#include "Vkgeometry.h"
#include "kernel/sampling/Mapping.h"

namespace vk::warp {

using namespace sampling;

class Plane final : public Mapping {
public:
    /// `back` takes the canvas to the source. Only what has a positive weight there is seen: on the other side of the
    /// line that goes to infinity nothing is.
    Plane(const Extent& source, const Extent& canvas, const V_MATRIX& back) noexcept;

    bool follow(const Raster& raster, const Reach& reach, int64_t row, int64_t begin, int64_t end,
                Track& track) const noexcept override;
    Spacing spacing(int32_t row, int32_t begin, int32_t end) const noexcept override;
    Seen seen(const Box& box) const noexcept override;

private:
    struct Line;

    Line line_of(const Raster& raster, int64_t row) const noexcept;
    bool make_arc(const Line& line, int64_t first, int64_t columns, Arc& arc) const noexcept;
    Narrowing narrowed(const Line& line, const Reach& reach, int64_t begin, int64_t end) const noexcept;

    V_MATRIX back_;
    bool is_affine_;
};

} // namespace vk::warp
