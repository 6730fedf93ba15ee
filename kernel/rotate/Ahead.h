// Asking for source pixels before they are needed. A turned row crosses many source rows and takes little of each,
// which no processor foresees; while one box of the canvas is painted, the cache lines that the next one will look at
// are fetched source row by source row.
#pragma once

#include "kernel/rotate/Painter.h"

#include <algorithm>

namespace vk::rotate {

class Ahead {
public:
    /// While a part of the target as high as all of it is painted, for the part `next`. Small sources are in the cache
    /// as it is.
    Ahead(const Geometry& geometry, const Pixels& source, const Target& target, const Box& next, int32_t bits) noexcept
        : geometry_(geometry), source_(source), target_(target), next_(next), bits_(bits)
    {
        constexpr size_t kSmall = 512 * 1024;
        const auto held = static_cast<size_t>(source.held.bottom - source.held.top);
        if (source.held.empty() || source.stride * held < kSmall)
            return;
        lines_ = target.box.bottom - target.box.top;
        if (next.empty())
            return;
        const Box box = source_box(geometry, next, 1);
        row_ = std::max(box.top, source.held.top);
        end_ = std::min(box.bottom, source.held.bottom);
        step_ = (end_ - row_) / lines_ + 1;
    }

    /// Called once before each line that is painted meanwhile, whose `bytes` bytes start at `data`.
    void line(const uint8_t* data, size_t bytes) noexcept
    {
        constexpr int32_t kLinesAhead = 6;
        if (lines_-- > kLinesAhead)
            for (size_t at = 0; at < bytes + kCacheLine - 1; at += kCacheLine)
                fetch_for_writing(data + kLinesAhead * target_.stride + at);
        for (const int32_t stop = row_ + std::min(step_, end_ - row_); row_ < stop; ++row_)
            fetch_row(seen_in_row(geometry_, next_, row_));
    }

private:
    static constexpr size_t kCacheLine = 64;

    // Not the compiler's own: it takes functions that only prefetch for ones that do nothing, and drops them.
    static void fetch(const uint8_t* at) noexcept { __asm__ volatile("prefetcht1 %0" : : "m"(*at)); }
    static void fetch_for_writing(const uint8_t* at) noexcept { __asm__ volatile("prefetchw %0" : : "m"(*at)); }

    void fetch_row(const Columns& seen) const noexcept
    {
        const int64_t first = std::max(seen.first, source_.held.left) - source_.held.left;
        const int64_t end = std::min(seen.end, source_.held.right) - source_.held.left;
        const uint8_t* const row = source_.data + static_cast<size_t>(row_ - source_.held.top) * source_.stride;
        const int64_t last_byte = end * bits_ / 8;
        for (int64_t at = first * bits_ / 8; at < last_byte; at += int64_t{kCacheLine})
            fetch(row + at);
    }

    const Geometry& geometry_;
    const Pixels& source_;
    const Target& target_;
    Box next_;
    int32_t bits_;
    int32_t lines_ = 0; ///< still to be painted
    int32_t row_ = 0;
    int32_t end_ = 0;
    int32_t step_ = 0;
};

} // namespace vk::rotate
