#include "kernel/warp/Grid.h"

#include <algorithm>
#include <cmath>

namespace vk::warp {

/// A row of samples.
struct Grid::Line {
    double per_cell; ///< samples from one line of the grid to the next
    int32_t cell;    ///< row of cells
    double down;     ///< how far down in it
};

/// Samples [first, end) of a row, whose positions are linear, from `start` on.
struct Grid::Piece {
    int64_t first;
    int64_t end;
    V_POINTD start;
    V_POINTD step;
};

int32_t Grid::cell_of(double at, int32_t count) noexcept
{
    return static_cast<int32_t>(std::clamp(at, 0.0, count - 2.0));
}

V_POINTD Grid::point(int32_t column, int32_t row) const noexcept
{
    return points_[static_cast<size_t>(row) * static_cast<size_t>(columns_) + static_cast<size_t>(column)];
}

/// The position at a part of a cell.
V_POINTD Grid::between(int32_t column, int32_t row, double x, double y) const noexcept
{
    const auto mixed = [](const V_POINTD& a, const V_POINTD& b, double part) noexcept {
        return V_POINTD{a.x + (b.x - a.x) * part, a.y + (b.y - a.y) * part};
    };
    return mixed(mixed(point(column, row), point(column, row + 1), y),
                 mixed(point(column + 1, row), point(column + 1, row + 1), y), x);
}

Grid::Line Grid::line_of(const Raster& raster, int64_t row) const noexcept
{
    const double at =
        (static_cast<double>(row) + 0.5) * (rows_ - 1) / (static_cast<double>(canvas_.height) * raster.down);
    const int32_t cell = cell_of(at, rows_);
    return {static_cast<double>(canvas_.width) * raster.across / (columns_ - 1), cell, at - cell};
}

/// The piece that a sample belongs to, which may be known to be its first: of one cell, and of one block of kLongest
/// columns.
Grid::Piece Grid::piece_at(const Line& line, int64_t column, bool is_first) const noexcept
{
    const auto cell_at = [&](int64_t sample) noexcept {
        return cell_of((static_cast<double>(sample) + 0.5) / line.per_cell, columns_);
    };
    const int32_t cell = cell_at(column);
    const int64_t block = column / kLongest * kLongest;
    // Roughly where the cell begins and ends; then by the rule itself.
    int64_t first = column;
    if (!is_first && first > block) {
        first = std::max(static_cast<int64_t>(cell * line.per_cell) - 1, block);
        while (cell_at(first) != cell)
            ++first;
    }
    int64_t end = block + kLongest;
    if (cell < columns_ - 2) {
        end = std::min(end, static_cast<int64_t>((cell + 1.0) * line.per_cell) + 2);
        while (cell_at(end - 1) != cell)
            --end;
    }
    const double unit = 1 / line.per_cell;
    const V_POINTD left = between(cell, line.cell, 0, line.down);
    const V_POINTD right = between(cell, line.cell, 1, line.down);
    const V_POINTD step{(right.x - left.x) * unit, (right.y - left.y) * unit};
    const double offset = static_cast<double>(first) + 0.5 - cell * line.per_cell;
    return {first, end, {left.x + step.x * offset, left.y + step.y * offset}, step};
}

/// Appends the samples [from, to) of a piece that may be seen. False when the track is at its end.
bool Grid::add_piece(const Piece& piece, const Reach& reach, int64_t from, int64_t to, Writer& writer) const noexcept
{
    constexpr double kRoom = 2; // for rounding
    const double before = reach.low + kRoom;
    Narrowing stretch(from - piece.first, to - piece.first);
    stretch.keep(piece.start.x + before, piece.step.x);
    stretch.keep(piece.start.y + before, piece.step.y);
    stretch.keep(source_.width + reach.high + kRoom - piece.start.x, 0 - piece.step.x);
    stretch.keep(source_.height + reach.high + kRoom - piece.start.y, 0 - piece.step.y);
    if (stretch.empty())
        return writer.is_empty();
    const auto columns = static_cast<double>(kLongest);
    const bool is_wide = std::fabs(piece.step.x) * columns > kWidest || std::fabs(piece.step.y) * columns > kWidest;
    for (int64_t at = stretch.begin(); at < stretch.end();) {
        const auto offset = static_cast<double>(at);
        // A wide piece goes sample by sample, others from the piece's start, be it seen or not.
        const V_POINTD here =
            is_wide ? V_POINTD{piece.start.x + piece.step.x * offset, piece.start.y + piece.step.y * offset}
                    : piece.start;
        const int64_t base_x = floor_of(here.x);
        const int64_t base_y = floor_of(here.y);
        Arc arc{base_x,
                base_y,
                to_fine(here.x - static_cast<double>(base_x)),
                to_fine(here.y - static_cast<double>(base_y)),
                0,
                0,
                0,
                0};
        if (!is_wide) {
            arc.step_x = to_fine(piece.step.x);
            arc.step_y = to_fine(piece.step.y);
        }
        const int64_t first = is_wide ? piece.first + at : piece.first;
        const int64_t skipped = is_wide ? 0 : at;
        const int64_t count = is_wide ? 1 : stretch.end() - at;
        if (!writer.append(arc, first, static_cast<int32_t>(skipped), static_cast<int32_t>(count)))
            return false;
        at += count;
    }
    return true;
}

bool Grid::follow(const Raster& raster, const Reach& reach, int64_t row, int64_t begin, int64_t end,
                  Track& track) const noexcept
{
    const Line line = line_of(raster, row);
    Writer writer(*loops_, reach, track);
    const int64_t stop = std::min(end, begin / kLongest * kLongest + kLongest);
    for (int64_t at = begin; at < end;) {
        if (at >= stop && !writer.is_empty())
            break;
        const Piece piece = piece_at(line, at, at > begin);
        const int64_t to = std::min(piece.end, end);
        if (!add_piece(piece, reach, at, to, writer))
            break;
        at = to;
    }
    return !writer.is_empty();
}

Spacing Grid::spacing(int32_t row, int32_t begin, int32_t end) const noexcept
{
    const Line line = line_of({}, row);
    const int32_t last = cell_of((end - 0.5) / line.per_cell, columns_);
    const double per_row = static_cast<double>(canvas_.height) / (rows_ - 1);
    Spacing widest{0, 0};
    const auto length = [](const V_POINTD& a, const V_POINTD& b, double unit) noexcept {
        return std::sqrt((b.x - a.x) * (b.x - a.x) + (b.y - a.y) * (b.y - a.y)) / unit;
    };
    for (int32_t cell = cell_of((begin + 0.5) / line.per_cell, columns_); cell <= last; ++cell) {
        const V_POINTD left = between(cell, line.cell, 0, line.down);
        const V_POINTD right = between(cell, line.cell, 1, line.down);
        widest.across = std::max(widest.across, length(left, right, line.per_cell));
        for (const int32_t side : {cell, cell + 1})
            widest.down = std::max(widest.down, length(point(side, line.cell), point(side, line.cell + 1), per_row));
    }
    return widest;
}

Seen Grid::seen(const Box& box) const noexcept
{
    const double per_column = static_cast<double>(canvas_.width) / (columns_ - 1);
    const double per_row = static_cast<double>(canvas_.height) / (rows_ - 1);
    const double left = box.left / per_column;
    const double right = box.right / per_column;
    const double top = box.top / per_row;
    const double bottom = box.bottom / per_row;
    Seen all = kNothing;
    for (int32_t row = cell_of(top, rows_); row <= cell_of(bottom, rows_); ++row)
        for (int32_t column = cell_of(left, columns_); column <= cell_of(right, columns_); ++column)
            for (int corner = 0; corner < 4; ++corner) {
                const double x = std::clamp((corner & 1 ? right : left) - column, 0.0, 1.0);
                const double y = std::clamp((corner & 2 ? bottom : top) - row, 0.0, 1.0);
                const V_POINTD at = between(column, row, x, y);
                all.add(at.x, at.y);
            }
    return all;
}

} // namespace vk::warp
