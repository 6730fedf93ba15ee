#include "kernel/format/Elementary.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>

namespace vk {

namespace {

// ln 2 as a number with zeros at its end, whose multiples are exact, and the rest of it.
constexpr double kLog2 = 0x1.62e42fefap-1;
constexpr double kLog2Rest = 0x1.cf79abc9e3b3ap-40;

} // namespace

double natural_log(double value) noexcept
{
    constexpr double kRootOfTwo = 0x1.6a09e667f3bcdp+0;
    int exponent = 0;
    double mantissa = 2 * std::frexp(value, &exponent);
    --exponent;
    if (mantissa > kRootOfTwo) {
        mantissa /= 2;
        ++exponent;
    }
    // ln m = 2 (s + s^3 / 3 + s^5 / 5 + ...) with s = (m - 1) / (m + 1), which is below 0.172.
    const double s = (mantissa - 1) / (mantissa + 1);
    double sum = 0;
    for (int power = 23; power >= 3; power -= 2)
        sum = sum * (s * s) + 1.0 / power;
    return exponent * kLog2 + (2 * s + (2 * s * (s * s) * sum + exponent * kLog2Rest));
}

double exponential(double value) noexcept
{
    const double x = std::clamp(value, -700.0, 700.0);
    const double twos = std::floor(x / (kLog2 + kLog2Rest) + 0.5);
    const double rest = (x - twos * kLog2) - twos * kLog2Rest;
    double sum = 1;
    for (int i = 15; i >= 1; --i)
        sum = 1 + sum * rest / i;
    return std::ldexp(sum, static_cast<int>(twos));
}

} // namespace vk
