// Logarithm and exponential from the four basic operations alone, so that they are the same on every system. They are
// off by a few units in the last place.
#pragma once

namespace vk {

/// Of a positive number.
double natural_log(double value) noexcept;

/// Of a number from -700 to 700; others count as the nearer of these.
double exponential(double value) noexcept;

} // namespace vk
