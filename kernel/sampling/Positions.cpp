#include "kernel/sampling/Loops.h"

#include <algorithm>

namespace vk::sampling {

namespace {

/// Numbers of an arc wrap like unsigned ones; what comes out fits.
void write_coordinate(int64_t start, int64_t step, int64_t bend, const ArcPart& part, int32_t whole,
                      int32_t* out) noexcept
{
    const auto from = static_cast<uint64_t>(part.from);
    const auto curve = static_cast<uint64_t>(bend);
    uint64_t at = static_cast<uint64_t>(start) + from * static_cast<uint64_t>(step) + from * from * curve;
    uint64_t next = static_cast<uint64_t>(step) + (2 * from + 1) * curve;
    at += static_cast<uint64_t>(int64_t{whole}) << kFineBits;
    for (int32_t i = 0; i < part.count; ++i, at += next, next += 2 * curve)
        out[i] = static_cast<int32_t>(at >> (kFineBits - kFractionBits));
}

void write(const ArcPart& part) noexcept
{
    write_coordinate(part.arc.x, part.arc.step_x, part.arc.bend_x, part, part.shift_x, part.x);
    write_coordinate(part.arc.y, part.arc.step_y, part.arc.bend_y, part, part.shift_y, part.y);
}

struct Range {
    int32_t least;
    int32_t most;
};

Range range_of(const int32_t* positions, int32_t count) noexcept
{
    Range range{positions[0], positions[0]};
    for (int32_t i = 1; i < count; ++i) {
        range.least = std::min(range.least, positions[i]);
        range.most = std::max(range.most, positions[i]);
    }
    return {range.least >> kFractionBits, range.most >> kFractionBits};
}

Span measure(const Track& track, int32_t from, int32_t count) noexcept
{
    const Range x = range_of(track.x + from, count);
    const Range y = range_of(track.y + from, count);
    return {track.base_x + x.least, track.base_y + y.least, track.base_x + x.most, track.base_y + y.most};
}

} // namespace

constexpr PositionLoops kPlainPositions{write, measure};

} // namespace vk::sampling
