// The quarter wave of sines, worked out by the compiler: entry a is 16384 * sin(a / 100 degrees), rounded. The series
// ends far below the distance of any entry from the middle between two integers, so the table is the same everywhere.
#include "kernel/rotate/Angle.h"

#include "Vkrecord.h"

#include <array>

namespace vk {

namespace {

constexpr double kRadians = 3.14159265358979323846 / 18000;
constexpr double kScale = 16384;

constexpr int32_t table_entry(int32_t angle) noexcept
{
    // Terms go down to 1e-19 at a quarter turn.
    constexpr int kLastPower = 27;
    const double x = angle * kRadians;
    double term = x;
    double sum = x;
    for (int power = 3; power <= kLastPower; power += 2) {
        term *= -x * x / (power * (power - 1));
        sum += term;
    }
    return static_cast<int32_t>(sum * kScale + 0.5);
}

constexpr std::array<int32_t, kRightAngle + 1> make_table() noexcept
{
    std::array<int32_t, kRightAngle + 1> table{};
    for (int32_t angle = 0; angle <= kRightAngle; ++angle)
        table[static_cast<size_t>(angle)] = table_entry(angle);
    return table;
}

constexpr std::array<int32_t, kRightAngle + 1> kSines = make_table();

int32_t quarter_sine(int32_t angle) noexcept
{
    return kSines[static_cast<size_t>(angle)];
}

} // namespace

int32_t sine_value(int32_t angle) noexcept
{
    if (angle <= kRightAngle)
        return quarter_sine(angle);
    if (angle <= 2 * kRightAngle)
        return quarter_sine(2 * kRightAngle - angle);
    return angle <= 3 * kRightAngle ? -quarter_sine(angle - 2 * kRightAngle) : -quarter_sine(kFullTurn - angle);
}

int32_t cosine_value(int32_t angle) noexcept
{
    if (angle <= kRightAngle)
        return quarter_sine(kRightAngle - angle);
    if (angle <= 2 * kRightAngle)
        return -quarter_sine(angle - kRightAngle);
    return angle <= 3 * kRightAngle ? -quarter_sine(3 * kRightAngle - angle) : quarter_sine(angle - 3 * kRightAngle);
}

} // namespace vk
