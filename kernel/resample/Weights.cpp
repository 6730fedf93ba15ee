#include "kernel/resample/Weights.h"

#include <algorithm>
#include <numeric>

namespace vk::resample {

namespace {

/// Sine of pi * x, by its series; x from 0 to 3.
double sin_pi(double x) noexcept
{
    double sign = 1.0;
    while (x > 0.5) { // sin(pi x) = -sin(pi (x - 1)), which is odd
        x -= 1.0;
        sign = -sign;
    }
    const double angle = x * 3.14159265358979323846;
    const double square = angle * angle;
    double term = angle;
    double sum = angle;
    for (int i = 1; i <= 10; ++i) {
        term *= -square / static_cast<double>(2 * i * (2 * i + 1));
        sum += term;
    }
    return sign * sum;
}

double sinc(double x) noexcept
{
    return x == 0.0 ? 1.0 : sin_pi(x) / (3.14159265358979323846 * x);
}

double cubic(double x) noexcept
{
    constexpr double a = -0.5;
    if (x < 1.0)
        return ((a + 2.0) * x - (a + 3.0)) * x * x + 1.0;
    return ((a * x - 5.0 * a) * x + 8.0 * a) * x - 4.0 * a;
}

/// Pixels to either side that a kernel reaches.
int32_t reach_of(Kernel kernel) noexcept
{
    return kernel == Kernel::triangle ? 1 : kernel == Kernel::bicubic ? 2 : 3;
}

int64_t floor_div(int64_t a, int64_t b) noexcept
{
    return a >= 0 ? a / b : -((-a + b - 1) / b);
}

/// The pixels, those beyond the ends too, that a kernel's position reaches. The distance of pixel j from the position,
/// in units of the kernel's, is (pitch * j - center) / scale.
struct Reached {
    int64_t pitch;
    int64_t scale;
    int64_t center;
    int64_t low;
    int64_t high;

    Reached(Kernel kernel, int32_t source, int32_t target, int32_t at) noexcept
        : pitch(int64_t{2} * target), scale(int64_t{2} * std::max(source, target)),
          center((int64_t{2} * at + 1) * source - target), low(floor_div(center - scale * reach_of(kernel), pitch) + 1),
          high(-floor_div(-(center + scale * reach_of(kernel)), pitch) - 1)
    {}

    double distance(int64_t pixel) const noexcept
    {
        const int64_t away = pitch * pixel - center;
        return static_cast<double>(away < 0 ? -away : away) / static_cast<double>(scale);
    }
};

/// Removes zeros at both ends.
int32_t trim(int32_t count, int32_t* first, int32_t* weights) noexcept
{
    while (count > 1 && weights[count - 1] == 0)
        --count;
    int32_t zeros = 0;
    while (zeros < count - 1 && weights[zeros] == 0)
        ++zeros;
    std::copy(weights + zeros, weights + count, weights);
    *first += zeros;
    return count - zeros;
}

} // namespace

double kernel_value(Kernel kernel, double distance) noexcept
{
    if (distance >= reach_of(kernel))
        return 0.0;
    if (kernel == Kernel::triangle)
        return 1.0 - distance;
    return kernel == Kernel::bicubic ? cubic(distance) : sinc(distance) * sinc(distance / 3.0);
}

PixelSpan needed_pixels(Kernel kernel, const Stretch& stretch) noexcept
{
    const int64_t source = stretch.source, target = stretch.target;
    const int64_t last = int64_t{stretch.first} + stretch.count - 1;
    if (kernel == Kernel::nearest)
        return {static_cast<int32_t>(stretch.first * source / target),
                static_cast<int32_t>(last * source / target + 1)};
    if (kernel == Kernel::area)
        return {static_cast<int32_t>(stretch.first * source / target),
                static_cast<int32_t>(((last + 1) * source + target - 1) / target)};
    const Reached low(kernel, stretch.source, stretch.target, stretch.first);
    const Reached high(kernel, stretch.source, stretch.target, static_cast<int32_t>(last));
    return {static_cast<int32_t>(std::clamp<int64_t>(low.low, 0, source - 1)),
            static_cast<int32_t>(std::clamp<int64_t>(high.high, 0, source - 1) + 1)};
}

int Axis::open(Kernel kernel, int32_t source, int32_t target, int32_t bits) noexcept
{
    return open(kernel, {source, target, 0, target}, bits);
}

int Axis::open(Kernel kernel, const Stretch& stretch, int32_t bits) noexcept
{
    const int32_t source = stretch.source, target = stretch.target;
    wanted_ = stretch;
    needed_ = needed_pixels(kernel, stretch);
    kernel_ = kernel;
    source_ = source;
    target_ = target;
    if (kernel == Kernel::nearest) {
        most_ = 1;
        total_ = 1;
        return V_SUCCESS;
    }
    if (kernel == Kernel::area) {
        const int32_t common = std::gcd(source, target);
        source_part_ = source / common;
        target_part_ = target / common;
    }
    exact_ = kernel == Kernel::area && bits == 0;
    const int64_t reach = kernel == Kernel::area ? source : int64_t{2} * reach_of(kernel) * std::max(source, target);
    total_ = exact_ ? source_part_ : int64_t{1} << bits;
    most_ = static_cast<int32_t>(std::min<int64_t>(reach / target + 2, source));
    return exact_ || values_.allocate(static_cast<uint64_t>(most_) * sizeof(double)) ? V_SUCCESS : V_ERROR_NO_MEMORY;
}

int32_t Axis::taps(int32_t at, int32_t* first, int32_t* weights) noexcept
{
    const int32_t count = taps_of(wanted_.first + at, first, weights);
    *first -= needed_.first;
    return count;
}

int32_t Axis::taps_of(int32_t at, int32_t* first, int32_t* weights) noexcept
{
    if (kernel_ == Kernel::nearest) {
        *first = static_cast<int32_t>(int64_t{at} * source_ / target_);
        weights[0] = 1;
        return 1;
    }
    if (exact_)
        return area_taps(at, first, weights);
    const int32_t mirrored = target_ - 1 - at;
    const int32_t half = std::min(at, mirrored);
    const int32_t count =
        kernel_ == Kernel::area ? area_values(half, first, weights) : kernel_taps(half, first, weights);
    if (mirrored < at) {
        std::reverse(weights, weights + count);
        *first = source_ - *first - count;
    }
    return count;
}

int32_t Axis::area_taps(int32_t at, int32_t* first, int32_t* weights) const noexcept
{
    const int64_t begin = at * source_part_;
    const int64_t end = begin + source_part_;
    *first = static_cast<int32_t>(begin / target_part_);
    int32_t count = 0;
    for (int64_t from = *first * target_part_; from < end; from += target_part_)
        weights[count++] = static_cast<int32_t>(std::min(from + target_part_, end) - std::max(from, begin));
    return count;
}

int32_t Axis::area_values(int32_t at, int32_t* first, int32_t* weights) noexcept
{
    const int32_t count = area_taps(at, first, weights);
    std::copy_n(weights, count, reinterpret_cast<double*>(values_.data()));
    quantize(count, 2 * int64_t{at} + 1 == target_, weights);
    return trim(count, first, weights);
}

/// Values of the kernel, folded onto the pixels there are, then made whole numbers.
int32_t Axis::kernel_taps(int32_t at, int32_t* first, int32_t* weights) noexcept
{
    const Reached reached(kernel_, source_, target_, at);
    const int64_t last = source_ - 1;
    *first = static_cast<int32_t>(std::clamp<int64_t>(reached.low, 0, last));
    const auto count = static_cast<int32_t>(std::clamp<int64_t>(reached.high, 0, last) - *first + 1);
    auto* const values = reinterpret_cast<double*>(values_.data());
    std::fill_n(values, count, 0.0);
    for (int64_t j = reached.low; j <= reached.high; ++j)
        values[std::clamp<int64_t>(j, 0, last) - *first] += kernel_value(kernel_, reached.distance(j));
    quantize(count, 2 * int64_t{at} + 1 == target_, weights);
    return trim(count, first, weights);
}

/// The rounding's remainder goes to the largest weight; for the position in the middle, to the middle ones.
void Axis::quantize(int32_t count, bool is_middle, int32_t* weights) const noexcept
{
    const auto* const values = reinterpret_cast<const double*>(values_.data());
    double sum = 0.0;
    for (int32_t i = 0; i < count; ++i)
        sum += values[i];
    const double one = static_cast<double>(total_);
    int64_t left = total_;
    for (int32_t i = 0; i < count; ++i) {
        const double scaled = values[i] / sum * one;
        weights[i] = static_cast<int32_t>(scaled < 0 ? scaled - 0.5 : scaled + 0.5);
        if (is_middle && i >= count / 2)
            weights[i] = weights[count - 1 - i];
        left -= weights[i];
    }
    const auto largest = static_cast<int32_t>(std::max_element(weights, weights + count) - weights);
    const int32_t low = is_middle ? (count - 1) / 2 : largest;
    const int32_t high = is_middle ? count / 2 : largest;
    weights[low] += static_cast<int32_t>(left / 2);
    weights[high] += static_cast<int32_t>(left - left / 2);
}

int TapTable::open(Axis& axis) noexcept
{
    const auto positions = static_cast<uint64_t>(axis.positions());
    const int32_t most = axis.most();
    RowBuffer room;
    constexpr uint64_t kLookedAt = 3; // that loops in vectors look at behind the last one
    const uint64_t all = (positions * static_cast<uint64_t>(most) + kLookedAt) * sizeof(int32_t);
    if (!first_.allocate(positions * sizeof(int32_t)) || !weights_.allocate(all) ||
        !room.allocate(static_cast<uint64_t>(most) * sizeof(int32_t)))
        return V_ERROR_NO_MEMORY;
    auto* const firsts = reinterpret_cast<int32_t*>(first_.data());
    auto* const weights = reinterpret_cast<int32_t*>(room.data());
    for (int32_t i = 0; i < axis.positions(); ++i)
        count_ = std::max(count_, axis.taps(i, &firsts[i], weights));
    auto* out = reinterpret_cast<int32_t*>(weights_.data());
    for (int32_t i = 0; i < axis.positions(); ++i, out += count_) {
        const int32_t count = axis.taps(i, &firsts[i], weights);
        const int32_t moved = std::max(firsts[i] + count_ - axis.pixels(), 0); // all taps lie inside
        firsts[i] -= moved;
        std::copy_n(weights, count, out + moved);
    }
    return V_SUCCESS;
}

} // namespace vk::resample
