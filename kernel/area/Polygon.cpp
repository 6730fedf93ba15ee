// Sides are walked down row by row with exact remainders, so a crossing is off by nothing. What counts of a crossing is
// the first pixel whose centre is not to the left of it; crossings of a row meet in order, either sorted or, where
// there are many for the width, counted by column.
#include "kernel/area/Polygon.h"

#include "platform/platform.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace vk {

namespace {

__extension__ using Wide = __int128;

constexpr int kFractionBits = 16;
constexpr int64_t kOne = int64_t{1} << kFractionBits;
constexpr int64_t kHalf = kOne / 2;
constexpr double kFarthest = 17592186044416.0; // 2^44

int64_t fixed(double value) noexcept
{
    return static_cast<int64_t>(std::floor(std::clamp(value, -kFarthest, kFarthest) * static_cast<double>(kOne) + 0.5));
}

/// The first pixel whose centre is at `position` or behind it.
int64_t pixel_from(int64_t position) noexcept
{
    return (position + kHalf - 1) >> kFractionBits;
}

/// A side on its way down. The exact position is x + rest / height.
struct Side {
    int64_t x;
    int64_t step;      ///< per row
    int64_t rest;      ///< 0 to height - 1
    int64_t rest_step; ///< 0 to height - 1
    int64_t height;    ///< in fixed units
    int32_t row;       ///< the next one
    int32_t end;       ///< behind its last
    int32_t direction;

    int64_t column() const noexcept { return pixel_from(x + (rest > 0 ? 1 : 0)); }

    void advance() noexcept
    {
        ++row;
        x += step;
        rest += rest_step;
        if (rest >= height) {
            rest -= height;
            ++x;
        }
    }
};

/// Divides downwards: `value` = quotient * `by` + rest with a rest of 0 to `by` - 1.
int64_t divide(Wide value, int64_t by, int64_t* rest) noexcept
{
    Wide quotient = value / by;
    Wide left = value - quotient * by;
    if (left < 0) {
        left += by;
        --quotient;
    }
    *rest = static_cast<int64_t>(left);
    return static_cast<int64_t>(quotient);
}

struct FixedPoint {
    int64_t x;
    int64_t y;
};

/// The side between two corners as far as it crosses rows of the frame; false where it crosses none.
bool make_side(FixedPoint from, FixedPoint to, const AreaBox& frame, Side* side) noexcept
{
    side->direction = 1;
    if (from.y > to.y) {
        std::swap(from, to);
        side->direction = -1;
    }
    const int64_t first = std::max<int64_t>(pixel_from(from.y), frame.top);
    const int64_t end = std::min<int64_t>(pixel_from(to.y), frame.bottom);
    if (first >= end)
        return false;
    side->row = static_cast<int32_t>(first);
    side->end = static_cast<int32_t>(end);
    side->height = to.y - from.y;
    const Wide across = to.x - from.x;
    side->x = from.x + divide(across * (first * kOne + kHalf - from.y), side->height, &side->rest);
    side->step = 0;
    side->rest_step = 0;
    if (first + 1 < end) // else the step would be of no use, and of any size
        side->step = divide(across * kOne, side->height, &side->rest_step);
    return true;
}

/// A place where a row goes over the outline.
struct Crossing {
    int32_t column;
    int32_t direction;
};

/// Memory that frees itself.
template <class T> class Items {
public:
    Items() noexcept = default;
    Items(const Items&) = delete;
    Items& operator=(const Items&) = delete;
    ~Items() { platform::heap_free(items_); }

    bool allocate(uint64_t count) noexcept
    {
        if (count > SIZE_MAX / 2 / sizeof(T))
            return false;
        items_ = static_cast<T*>(platform::heap_alloc(static_cast<size_t>(std::max<uint64_t>(count, 1)) * sizeof(T)));
        return items_ != nullptr;
    }
    T* data() noexcept { return items_; }
    T& operator[](size_t index) noexcept { return items_[index]; }

private:
    T* items_ = nullptr;
};

class Polygon {
public:
    Polygon(FillRule rule, const AreaBox& frame, AreaBuilder& built) noexcept
        : rule_(rule), frame_(frame), built_(built)
    {}

    bool open(const AreaPoint* points, uint32_t count) noexcept
    {
        if (!sides_.allocate(count))
            return false;
        FixedPoint last{fixed(points[count - 1].x), fixed(points[count - 1].y)};
        for (uint32_t i = 0; i < count; ++i) {
            const FixedPoint next{fixed(points[i].x), fixed(points[i].y)};
            if (make_side(last, next, frame_, &sides_[side_count_]))
                ++side_count_;
            last = next;
        }
        std::sort(sides_.data(), sides_.data() + side_count_,
                  [](const Side& a, const Side& b) noexcept { return a.row < b.row; });
        return active_.allocate(side_count_) && crossings_.allocate(side_count_) && open_columns();
    }

    bool run() noexcept
    {
        for (int32_t y = frame_.top; y < frame_.bottom && built_.good(); ++y) {
            take_sides(y);
            if (active_count_ == 0 && next_side_ == side_count_)
                break;
            if (active_count_ == 0) {
                y = sides_[next_side_].row - 1;
                continue;
            }
            add_row(y);
            pass_row();
        }
        return built_.good();
    }

private:
    size_t width() const noexcept { return static_cast<uint32_t>(frame_.right) - static_cast<uint32_t>(frame_.left); }
    bool is_crowded() const noexcept { return active_count_ > width() / 8; }

    /// Room for counting by column, if there can be so many sides in a row.
    bool open_columns() noexcept
    {
        if (side_count_ <= width() / 8)
            return true;
        if (!columns_.allocate(width() + 1))
            return false;
        std::memset(columns_.data(), 0, (width() + 1) * sizeof(int32_t));
        return true;
    }

    /// Sides that begin with this row.
    void take_sides(int32_t y) noexcept
    {
        while (next_side_ < side_count_ && sides_[next_side_].row == y)
            active_[active_count_++] = &sides_[next_side_++];
    }

    void pass_row() noexcept
    {
        size_t kept = 0;
        for (size_t i = 0; i < active_count_; ++i) {
            Side& side = *active_[i];
            side.advance();
            if (side.row < side.end)
                active_[kept++] = &side;
        }
        active_count_ = kept;
    }

    int32_t column_of(const Side& side) const noexcept
    {
        return static_cast<int32_t>(std::clamp<int64_t>(side.column(), frame_.left, frame_.right));
    }

    void add_row(int32_t y) noexcept
    {
        runs_ = built_.room(std::min<uint64_t>(active_count_, width()) + 1);
        if (!runs_)
            return;
        run_count_ = 0;
        around_ = 0;
        if (is_crowded())
            count_crossings();
        else
            sort_crossings();
        built_.add_band(y, y + 1, run_count_);
    }

    void sort_crossings() noexcept
    {
        for (size_t i = 0; i < active_count_; ++i)
            crossings_[i] = {column_of(*active_[i]), active_[i]->direction};
        std::sort(crossings_.data(), crossings_.data() + active_count_,
                  [](const Crossing& a, const Crossing& b) noexcept { return a.column < b.column; });
        for (size_t i = 0; i < active_count_;) {
            const int32_t column = crossings_[i].column;
            int32_t change = 0;
            for (; i < active_count_ && crossings_[i].column == column; ++i)
                change += change_of(crossings_[i].direction);
            cross(column, change);
        }
    }

    void count_crossings() noexcept
    {
        for (size_t i = 0; i < active_count_; ++i)
            columns_[static_cast<size_t>(column_of(*active_[i]) - frame_.left)] += change_of(active_[i]->direction);
        for (size_t i = 0; i <= width(); ++i)
            if (columns_[i] != 0) {
                cross(frame_.left + static_cast<int32_t>(i), columns_[i]);
                columns_[i] = 0;
            }
    }

    int32_t change_of(int32_t direction) const noexcept { return rule_ == FillRule::winding ? direction : 1; }
    bool is_inside() const noexcept { return rule_ == FillRule::winding ? around_ != 0 : (around_ & 1) != 0; }

    void cross(int32_t column, int32_t change) noexcept
    {
        const bool was_inside = is_inside();
        around_ += change;
        if (is_inside() == was_inside)
            return;
        if (!was_inside)
            runs_[run_count_] = {column, column};
        else if (runs_[run_count_].first < column)
            runs_[run_count_++].end = column;
    }

    const FillRule rule_;
    const AreaBox frame_;
    AreaBuilder& built_;
    Items<Side> sides_;
    Items<Side*> active_;
    Items<Crossing> crossings_;
    Items<int32_t> columns_; ///< what crosses at each column of the frame
    size_t side_count_ = 0;
    size_t next_side_ = 0;
    size_t active_count_ = 0;
    AreaRun* runs_ = nullptr; ///< of the row that is made
    size_t run_count_ = 0;
    int32_t around_ = 0;
};

} // namespace

bool build_polygon(const AreaPoint* points, uint32_t count, FillRule rule, const AreaBox& frame,
                   AreaBuilder& built) noexcept
{
    built.clear();
    if (count == 0 || frame.empty())
        return true;
    Polygon polygon(rule, frame, built);
    return polygon.open(points, count) && polygon.run();
}

} // namespace vk
