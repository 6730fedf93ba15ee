// Dividing points into boxes: again and again the division of one box by a plane that lowers the sum of squared errors
// most, until there are as many boxes as colours.
#pragma once

#include "kernel/colorres/ColorCount.h"

#include <cstdint>

namespace vk::quantize {

/// A place in the colour cube, in coordinates of points.
struct Center {
    int32_t at[3];
};

/// Reorders the points, sets their owners and writes the means of at most `most` boxes (1 to 256); returns their
/// number.
uint32_t cut(Point* points, uint32_t count, uint32_t most, Center* centers) noexcept;

/// The mean of sums over `weight`, rounded.
Center mean_of(const int64_t (&sums)[3], int64_t weight) noexcept;

} // namespace vk::quantize
