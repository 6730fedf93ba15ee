// A run of error diffusion whose rows several threads do: each takes a few rows, in order, and stays behind the thread
// that does the rows above, as rows stay behind each other in a wavefront. What comes out is the same.
//
// The threads share the run's matching and a ring of error rows with room for all rows under way; working memory each
// has of its own. A mark for each row tells how far the row below may go.
#pragma once

#include "kernel/dither/State.h"
#include "kernel/threading/Pause.h"

#include <algorithm>
#include <atomic>
#include <cstdint>

namespace vk::dither {

/// In a cache line of its own: a row of the run above 32 bits of columns, whose error for the row below is complete.
struct alignas(64) Mark {
    std::atomic<uint64_t> place{0};
};

struct Team {
    Mark* marks;
    uint64_t count;              ///< of marks, more than there are rows under way
    std::atomic<bool> abandoned; ///< rows have failed: nobody waits any more
};

/// Columns that are done between two looks at the rows above.
constexpr int64_t kStretch = 256;

/// Where `rows` rows from the state's row on wait for the row above them, and tell the row below.
class Gate {
public:
    Gate(const DitherState& state, int32_t rows) noexcept
        : team_(*state.team), above_(state.row - 1), last_(state.row + static_cast<uint64_t>(rows) - 1),
          is_first_(state.row == 0), width_(state.width)
    {}

    /// Waits until error for `columns` columns of the first row, or for all of it, is complete.
    void wait(int64_t columns) const noexcept
    {
        if (is_first_)
            return;
        const uint64_t wanted = place(above_, columns);
        const std::atomic<uint64_t>& mark = mark_of(above_);
        for (Pause pause; mark.load(std::memory_order_acquire) < wanted; pause.wait())
            if (team_.abandoned.load(std::memory_order_relaxed))
                return;
    }

    /// Error for `columns` columns of the row below is complete.
    void tell(int64_t columns) const noexcept
    {
        if (columns > 0)
            mark_of(last_).store(place(last_, columns), std::memory_order_release);
    }

private:
    uint64_t place(uint64_t row, int64_t columns) const noexcept
    {
        return row << 32 | static_cast<uint64_t>(std::min(columns, width_));
    }
    std::atomic<uint64_t>& mark_of(uint64_t row) const noexcept { return team_.marks[row % team_.count].place; }

    Team& team_;
    uint64_t above_;
    uint64_t last_;
    bool is_first_;
    int64_t width_;
};

} // namespace vk::dither
