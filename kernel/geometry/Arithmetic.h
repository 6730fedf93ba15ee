// Arithmetic that run-time libraries of systems do not agree on: some round std::fma twice, or std::round a number just
// below a half upwards. Here it is the same everywhere.
#pragma once

#include <cmath>

namespace vk::geometry {

struct Halves {
    double high;
    double low;
};

/// The nearest whole number, halves away from zero.
inline double rounded(double value) noexcept
{
    const double whole = std::trunc(value);
    return std::fabs(value - whole) >= 0.5 ? whole + std::copysign(1.0, value) : whole;
}

/// Two numbers of 26 bits each that add up to `value`, below 2^996.
/// Source: T. J. Dekker, A Floating-Point Technique for Extending the Available Precision, 1971.
inline Halves halves_of(double value) noexcept
{
    constexpr double kSplit = 0x1p27 + 1;
    const double spread = value * kSplit;
    const double high = spread - (spread - value);
    return {high, value - high};
}

/// a * b - product, where `product` is a * b rounded; exact unless it is too small for doubles. 0 for numbers too large
/// to be split.
inline double product_rest(double a, double b, double product) noexcept
{
    const Halves x = halves_of(a);
    const Halves y = halves_of(b);
    const double rest = ((x.high * y.high - product) + x.high * y.low + x.low * y.high) + x.low * y.low;
    return std::isfinite(rest) ? rest : 0;
}

} // namespace vk::geometry
