#include "kernel/window/LinearWindow.h"

#include <algorithm>
#include <cmath>

namespace vk {

namespace {

constexpr int32_t kMostShift = 24; // sums have 8 bits in front of it
constexpr int32_t kHalf = 16;
constexpr double kFactorEnd = 4294967296.0; // factors have 32 bits

/// Where a level begins, counted from the base: below it the one before.
struct Step {
    int64_t distance;
    int64_t level;
};

class Search {
public:
    Search(const WindowSteps& steps, const SampleForm& form) noexcept : steps_(steps), first_(form.range().first)
    {
        const int64_t last = form.range().last;
        while (reached_ < steps.count() && steps.at(reached_ + 1) <= last)
            ++reached_;
        found_.base = reached_ > 0 ? static_cast<uint32_t>(std::max<int64_t>(steps.at(1) - first_ - 1, 0)) : 0;
        found_.span = reached_ > 0 ? static_cast<uint32_t>(steps.at(reached_) - first_) - found_.base : 0;
    }

    int32_t reached() const noexcept { return reached_; }
    uint32_t span() const noexcept { return found_.span; }
    const LinearWindow& found() const noexcept { return found_; }

    /// Tries a slope in levels per sample, with one product first.
    bool try_slope(double slope) noexcept
    {
        for (const int32_t before : {0, kHalf})
            for (int32_t shift = kMostShift; shift >= kHalf; --shift) {
                const double factor = std::floor(std::ldexp(slope, shift + before) + 0.5);
                if (factor >= kFactorEnd)
                    continue;
                if (try_factor(static_cast<int64_t>(factor), before, shift))
                    return true;
                break; // fewer bits do not help
            }
        return false;
    }

private:
    /// Offsets that suit every step, if there are any.
    bool try_factor(int64_t factor, int32_t before, int32_t shift) noexcept
    {
        const auto way = [=](int64_t distance) noexcept { return distance * factor >> before; };
        int64_t least = 0;
        int64_t most = (int64_t{reached_ + 1} << shift) - 1 - way(found_.span);
        for (int32_t step = 1; step <= reached_; ++step) {
            const int64_t level = int64_t{step} << shift;
            const int64_t distance = steps_.at(step) - first_ - found_.base;
            least = std::max(least, level - way(distance));
            if (distance > 0)
                most = std::min(most, level - 1 - way(distance - 1));
        }
        if (least > most)
            return false;
        found_.factor = static_cast<uint32_t>(factor);
        found_.offset = static_cast<uint32_t>(least + (most - least) / 2);
        found_.before = before;
        found_.shift = shift;
        found_.is_found = true;
        return true;
    }

    const WindowSteps& steps_;
    int64_t first_;
    int32_t reached_ = 0; ///< steps that some sample reaches
    LinearWindow found_;
};

} // namespace

LinearWindow find_linear(const WindowSteps& steps, const V_WINDOW& window, const SampleForm& form) noexcept
{
    Search search(steps, form);
    const double width = window.Function == WINDOW_LINEAR ? window.Width - 1 : window.Width;
    if (search.reached() == 0 || (width >= 1 && search.try_slope(steps.count() / width)))
        return search.reached() == 0 ? LinearWindow{0, 0, 0, 0, 0, kMostShift, true} : search.found();
    if (search.span() > 0)
        search.try_slope(static_cast<double>(search.reached()) / search.span());
    return search.found();
}

} // namespace vk
