// What the two ways of taking pixels, nearest and mixed, have in common: they paint pieces of canvas rows from source
// pixels that lie in memory. Walk.h brings them there.
#pragma once

#include "kernel/sampling/Mapping.h"
#include "kernel/sampling/Source.h"
#include "simd/Hints.h"

#include <algorithm>
#include <utility>

namespace vk::sampling {

class Painter {
public:
    Painter(const Mapping& mapping, const Reach& reach) noexcept : mapping_(mapping), reach_(reach), positions_(loops())
    {}

    /// Paints columns [left, right) of a canvas row, no more than kLongest, to packed pixels. `left` is a multiple of
    /// kAligned; what the last byte has left over becomes clear.
    virtual void paint(const Source& source, int32_t row, int32_t left, int32_t right, uint8_t* out) noexcept = 0;

    /// Source pixels around a position that may be looked at.
    int32_t margin() const noexcept { return reach_.high + 1; }

protected:
    ~Painter() = default;

    /// The pixels that samples may begin with so that everything they look at is held; and how to see the rest.
    Span inner(const Pixels& pixels) const noexcept
    {
        const Box& held = pixels.held;
        return {int64_t{held.left} + reach_.low, int64_t{held.top} + reach_.low, int64_t{held.right} - 1 - reach_.high,
                int64_t{held.bottom} - 1 - reach_.high};
    }

    /// The pixels that samples [from, from + count) begin with.
    Span measure(const Track& track, int32_t from, int32_t count) const noexcept
    {
        if (!track.is_straight)
            return positions_.measure(track, from, count);
        const auto ends = [&](const int32_t* positions) noexcept {
            return std::minmax({positions[from] >> kFractionBits, positions[from + count - 1] >> kFractionBits});
        };
        const auto x = ends(track.x);
        const auto y = ends(track.y);
        return {track.base_x + x.first, track.base_y + y.first, track.base_x + x.second, track.base_y + y.second};
    }

    /// Calls patch(from, count, span) for stretches of a track whose samples lie inside, and single(i) for others.
    template <class Stretch, class Single>
    void split(const Track& track, const Span& inside, const Stretch& stretch, const Single& single) const noexcept
    {
        const auto holds = [&](int64_t x, int64_t y) noexcept {
            return x >= inside.left && x <= inside.right && y >= inside.top && y <= inside.bottom;
        };
        const Span all = measure(track, 0, track.count);
        if (holds(all.left, all.top) && holds(all.right, all.bottom))
            return stretch(0, track.count, all);
        for (int32_t i = 0; i < track.count;) {
            const int32_t from = i;
            while (i < track.count &&
                   holds(track.base_x + (track.x[i] >> kFractionBits), track.base_y + (track.y[i] >> kFractionBits)))
                ++i;
            if (i > from)
                stretch(from, i - from, measure(track, from, i - from));
            else
                single(i++);
        }
    }

    /// The patch that a stretch is.
    static Patch patch_of(const Pixels& pixels, int32_t bits, const Track& track, int32_t from, int32_t count,
                          const Span& span) noexcept
    {
        const int64_t column = (span.left - pixels.held.left) / kAligned * kAligned;
        const int64_t row = span.top - pixels.held.top;
        const uint8_t* const origin =
            pixels.data + static_cast<size_t>(row) * pixels.stride + static_cast<size_t>(column * bits / 8);
        return {origin,
                pixels.stride,
                track.x + from,
                track.y + from,
                static_cast<int32_t>(pixels.held.left + column - track.base_x),
                static_cast<int32_t>(span.top - track.base_y),
                count,
                track.line.from(from)};
    }

    /// Loops that read a little too far and count offsets in 32 bits may take it.
    bool may_be_fast(const Pixels& pixels, int32_t bits, const Span& span) const noexcept
    {
        const auto rows_behind = static_cast<uint64_t>(pixels.held.bottom - 1 - reach_.high - span.bottom);
        const auto rows = static_cast<uint64_t>(span.bottom - span.top) + 4;
        const auto columns = static_cast<uint64_t>(span.right - span.left) + 12;
        return rows_behind * pixels.stride + pixels.behind >= kSlack &&
               rows * pixels.stride + columns * static_cast<uint64_t>(bits) / 8 < kFarthestOffset;
    }

    /// Has pixels fetched that a few rows further the same columns will look at. A row of a canvas crosses many source
    /// rows and takes little of each, which no processor foresees.
    void fetch_ahead(const Pixels& pixels, int32_t bits, int32_t row, const Track& track) noexcept
    {
        constexpr int32_t kRows = 6;
        constexpr int32_t kLineBytes = 64;
        const int64_t x = (track.base_x << kFractionBits) + track.x[0];
        const int64_t y = (track.base_y << kFractionBits) + track.y[0];
        const Seat last = std::exchange(seats_[track.first / 64 % 4], {row, track.first, x, y});
        if (last.row != row - 1 || last.column != track.first)
            return;
        const int64_t down_x = kRows * (x - last.x);
        const int64_t down_y = kRows * (y - last.y);
        const int32_t step = std::max(kLineBytes * 8 / bits, 1);
        for (int32_t i = 0; i < track.count; i += step) {
            const int64_t column = track.base_x + ((track.x[i] + down_x) >> kFractionBits) - pixels.held.left;
            const int64_t line = track.base_y + ((track.y[i] + down_y) >> kFractionBits) - pixels.held.top;
            const auto at = reinterpret_cast<uintptr_t>(pixels.data) +
                            static_cast<uintptr_t>(line * static_cast<int64_t>(pixels.stride) + column * bits / 8);
            simd::fetch(at);
        }
    }

    /// Where a row's first sample was.
    struct Seat {
        int64_t row;
        int64_t column;
        int64_t x;
        int64_t y;
    };
    Seat seats_[4] = {{-2, 0, 0, 0}, {-2, 0, 0, 0}, {-2, 0, 0, 0}, {-2, 0, 0, 0}}; ///< of tracks side by side

    const Mapping& mapping_;
    const Reach reach_;
    const PositionLoops& positions_;
};

} // namespace vk::sampling
