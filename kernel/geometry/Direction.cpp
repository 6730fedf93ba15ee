#include "kernel/geometry/Direction.h"

#include "kernel/geometry/Arithmetic.h"

namespace vk {

namespace {

/// A hundredth of a degree in two parts.
constexpr double kRadians = 1.7453292519943296e-4;
constexpr double kRadiansRest = -6.809167281499371e-21;

/// The alternating series of a sine (first = 3) or cosine (first = 2) without its first term, from the smallest term
/// up: x^power / (first * ...). Below half a right angle the terms left out are under 2^-60.
double series(double square, int first, int last) noexcept
{
    double sum = 0;
    for (int power = last; power >= first; power -= 2)
        sum = (1 - sum) * (square / (power * (power - 1)));
    return 0 - sum;
}

/// Of `x` and a rest that is too small for its digits.
double sine_of(double x, double rest) noexcept
{
    return x + (x * series(x * x, 3, 19) + rest);
}

double cosine_of(double x, double rest) noexcept
{
    return 1 + (series(x * x, 2, 18) - x * rest);
}

} // namespace

Direction direction_of(int32_t angle) noexcept
{
    const int32_t quarter = angle / kRightAngle;
    const int32_t rest = angle % kRightAngle;
    // Both from at most half a right angle, where a small angle's sine keeps all its digits.
    const bool is_steep = rest > kRightAngle / 2;
    const double flat = is_steep ? kRightAngle - rest : rest;
    const double x = flat * kRadians;
    const double x_rest = geometry::product_rest(flat, kRadians, x) + flat * kRadiansRest;
    const double small = sine_of(x, x_rest);
    const double large = cosine_of(x, x_rest);
    const double sine = is_steep ? large : small;
    const double cosine = is_steep ? small : large;
    switch (quarter) {
    case 0:
        return {cosine, sine};
    case 1:
        return {0 - sine, cosine};
    case 2:
        return {0 - cosine, 0 - sine};
    default:
        return {sine, 0 - cosine};
    }
}

} // namespace vk
