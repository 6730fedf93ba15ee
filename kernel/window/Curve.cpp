#include "kernel/window/Curve.h"

#include "kernel/format/Elementary.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>

namespace vk {

namespace {

constexpr double kFarthest = 9007199254740992.0; // 2^53
constexpr uint32_t kFlags = WINDOWFLAG_SIGNED | WINDOWFLAG_INVERTED;

/// A sum of numbers without rounding, as numbers that do not overlap, the largest last.
class ExactSum {
public:
    void add(double value) noexcept
    {
        for (int i = 0; i < count_; ++i) {
            const double sum = value + parts_[i];
            const double back = sum - value;
            parts_[i] = (value - (sum - back)) + (parts_[i] - back);
            value = sum;
        }
        parts_[count_++] = value;
    }

    /// Adds a product with a whole number of at most 25 bits: both halves of the other number give exact products.
    void add_product(int32_t factor, double value) noexcept
    {
        constexpr uint64_t kUpperHalf = ~uint64_t{0} << 27;
        const auto upper = std::bit_cast<double>(std::bit_cast<uint64_t>(value) & kUpperHalf);
        add(factor * upper);
        add(factor * (value - upper));
    }

    int sign() const noexcept
    {
        for (int i = count_; i > 0; --i)
            if (parts_[i - 1] != 0)
                return parts_[i - 1] > 0 ? 1 : -1;
        return 0;
    }

private:
    double parts_[5] = {};
    int count_ = 0;
};

/// The sign of whole + a center + b width.
int sign_of(int64_t whole, int32_t a, double center, int32_t b, double width) noexcept
{
    ExactSum sum;
    sum.add(static_cast<double>(whole));
    sum.add_product(a, center);
    sum.add_product(b, width);
    return sum.sign();
}

} // namespace

int check_window(const V_WINDOW* window) noexcept
{
    if (!window)
        return V_ERROR_NULL_PTR;
    if (window->StructSize != sizeof *window)
        return V_ERROR_INVALID_STRUCT_SIZE;
    const bool is_finite = std::abs(window->Center) <= kFarthest && std::abs(window->Width) <= kFarthest;
    const bool is_wide = window->Function == WINDOW_LINEAR ? window->Width >= 1 : window->Width > 0;
    const bool is_known = window->Function <= WINDOW_SIGMOID && !(window->Flags & ~kFlags);
    return is_finite && is_wide && is_known ? V_SUCCESS : V_ERROR_INVALID_PARAMETER;
}

WindowSteps::WindowSteps(const V_WINDOW& window, WindowRange range, SampleRange samples) noexcept
    : range_(range), samples_(samples), count_(std::abs(range.end - range.start))
{
    at_[0] = samples.first;
    for (int32_t step = 1; step <= count_; ++step)
        at_[step] = find(window, step);
}

int64_t WindowSteps::find(const V_WINDOW& window, int32_t step) const noexcept
{
    int64_t sample = guess(window, step);
    while (sample > samples_.first && reaches(window, sample - 1, step))
        --sample;
    while (sample <= samples_.last && !reaches(window, sample, step))
        ++sample;
    return sample;
}

/// Where the step is, but for the rounding of the way there.
int64_t WindowSteps::guess(const V_WINDOW& window, int32_t step) const noexcept
{
    const double part = (step - 0.5) / count_;
    double sample = window.Center + (part - 0.5) * window.Width;
    if (window.Function == WINDOW_LINEAR)
        sample = window.Center - 0.5 + (part - 0.5) * (window.Width - 1);
    else if (window.Function == WINDOW_SIGMOID)
        sample = window.Center - window.Width / 4 * natural_log(1 / part - 1);
    const double kept = std::clamp(sample, static_cast<double>(samples_.first), static_cast<double>(samples_.last) + 1);
    return static_cast<int64_t>(std::ceil(kept));
}

/// Whether a sample's value, rounded, is `step` away from the start or farther: whether the part of the way from start
/// to end, times the steps, is `step` - 1/2 or more; more, where it goes down, since halves go up. Multiplied by twice
/// the width, everything is whole but the centre and the width.
bool WindowSteps::reaches(const V_WINDOW& window, int64_t sample, int32_t step) const noexcept
{
    const bool is_rising = range_.start < range_.end;
    if (window.Function == WINDOW_SIGMOID) {
        const double half_way = 2.0 * step - 1;
        const double value = natural_log((2.0 * count_ - half_way) / half_way) * window.Width / 4;
        const double reached = window.Center - value;
        return is_rising ? static_cast<double>(sample) >= reached : static_cast<double>(sample) > reached;
    }
    const bool is_exact = window.Function == WINDOW_LINEAREXACT;
    const int64_t twice = 2 * sample;
    if (sign_of(twice, -2, window.Center, 1, window.Width) <= 0)
        return false;
    if (sign_of(is_exact ? twice : twice + 2, -2, window.Center, -1, window.Width) > 0)
        return true;
    const int32_t odd = 2 * step - 1;
    const int sign =
        sign_of(twice * count_ + (is_exact ? 0 : odd), -2 * count_, window.Center, count_ - odd, window.Width);
    return is_rising ? sign >= 0 : sign > 0;
}

} // namespace vk
