#include "kernel/sampling/Mapping.h"

#include <algorithm>
#include <cmath>

namespace vk::sampling {

bool Mapping::Writer::append(Arc arc, int64_t column, int32_t from, int32_t count) noexcept
{
    if (track_.count == 0) {
        track_.first = column + from;
        track_.base_x = arc.base_x;
        track_.base_y = arc.base_y;
    }
    track_.is_straight = track_.count == 0 && arc.bend_x == 0 && arc.bend_y == 0;
    const int64_t shift_x = arc.base_x - track_.base_x;
    const int64_t shift_y = arc.base_y - track_.base_y;
    const bool follows = track_.first + track_.count == column + from;
    if (!follows || count > room() || std::abs(shift_x) > kFarthest || std::abs(shift_y) > kFarthest)
        return false;
    arc.x -= reach_.shift;
    arc.y -= reach_.shift;
    loops_.write({arc, from, count, static_cast<int32_t>(shift_x), static_cast<int32_t>(shift_y),
                  track_.x + track_.count, track_.y + track_.count});
    track_.count += count;
    return true;
}

void Narrowing::keep(double start, double slope) noexcept
{
    if (slope == 0) {
        if (!(start >= 0))
            to_ = from_ - 1;
        return;
    }
    if (start + from_ * slope >= 0 && start + to_ * slope >= 0)
        return; // as mostly: both ends are kept
    const double bound = -start / slope;
    if (slope > 0)
        from_ = std::max(from_, std::ceil(bound));
    else
        to_ = std::min(to_, std::floor(bound));
}

} // namespace vk::sampling
