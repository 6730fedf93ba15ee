// Maps by a grid: source positions of points that are evenly spread over the canvas, from corner to corner. Between
// four points positions are bilinear, so along a row they are linear from one line of the grid to the next.
#pragma once

#include "Vkgeometry.h"
#include "kernel/sampling/Mapping.h"

namespace vk::warp {

using namespace sampling;

class Grid final : public Mapping {
public:
    /// `points` are rows of `columns` points each, at least two both ways, all within kFarPoint. They stay the
    /// caller's.
    Grid(const Extent& source, const Extent& canvas, const V_POINTD* points, int32_t columns, int32_t rows) noexcept
        : Mapping(source, canvas), points_(points), columns_(columns), rows_(rows)
    {}

    static constexpr double kFarPoint = 0x1p31;

    bool follow(const Raster& raster, const Reach& reach, int64_t row, int64_t begin, int64_t end,
                Track& track) const noexcept override;
    Spacing spacing(int32_t row, int32_t begin, int32_t end) const noexcept override;
    Seen seen(const Box& box) const noexcept override;

private:
    struct Line;
    struct Piece;

    /// The cell of a position counted in cells, of `count` points.
    static int32_t cell_of(double at, int32_t count) noexcept;

    V_POINTD point(int32_t column, int32_t row) const noexcept;
    V_POINTD between(int32_t column, int32_t row, double x, double y) const noexcept;
    Line line_of(const Raster& raster, int64_t row) const noexcept;
    Piece piece_at(const Line& line, int64_t column, bool is_first) const noexcept;
    bool add_piece(const Piece& piece, const Reach& reach, int64_t from, int64_t to, Writer& writer) const noexcept;

    const V_POINTD* points_;
    int32_t columns_;
    int32_t rows_;
};

} // namespace vk::warp
