// A window's function in real numbers, rounded at the end alone. It never falls back, so all there is to know are its
// steps: the first sample at which each level is reached.
#pragma once

#include "Vkwindow.h"

#include <cstdint>

namespace vk {

/// What a window goes from and to, channels or levels; either may be the larger.
struct WindowRange {
    int32_t start;
    int32_t end;
};

/// SUCCESS, or what V_FillWindowTable says of a window.
int check_window(const V_WINDOW* window) noexcept;

/// Samples from the first to the last, both included.
struct SampleRange {
    int64_t first;
    int64_t last;
};

class WindowSteps {
public:
    static constexpr int32_t kMost = 255;

    /// The steps of a checked window, its inversion left aside, for samples of a range.
    WindowSteps(const V_WINDOW& window, WindowRange range, SampleRange samples) noexcept;

    int32_t count() const noexcept { return count_; }

    /// The first sample of the range with a result `step` (1 to count) away from the start, in either direction; the
    /// one behind the range when there is none.
    int64_t at(int32_t step) const noexcept { return at_[step]; }

    /// The result `step` away from the start.
    int32_t value(int32_t step) const noexcept
    {
        return range_.start < range_.end ? range_.start + step : range_.start - step;
    }

private:
    int64_t find(const V_WINDOW& window, int32_t step) const noexcept;
    int64_t guess(const V_WINDOW& window, int32_t step) const noexcept;
    bool reaches(const V_WINDOW& window, int64_t sample, int32_t step) const noexcept;

    WindowRange range_;
    SampleRange samples_;
    int32_t count_;
    int64_t at_[kMost + 1];
};

/// Calls `put(first, end, value)` for the samples of each value there is, in ascending order.
template <class Put> void each_level(const WindowSteps& steps, SampleRange samples, Put put) noexcept
{
    for (int32_t step = 0; step <= steps.count(); ++step) {
        const int64_t end = step < steps.count() ? steps.at(step + 1) : samples.last + 1;
        if (steps.at(step) < end)
            put(steps.at(step), end, steps.value(step));
    }
}

} // namespace vk
