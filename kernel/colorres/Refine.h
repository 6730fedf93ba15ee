// Improving a division of points: each point goes to its nearest centre and each centre to the mean of its points, in
// turns, until nothing much changes. Every turn lowers the sum of squared errors.
#pragma once

#include "kernel/colorres/Cut.h"

#include <cstdint>

namespace vk::quantize {

/// Working memory of refine, for the caller to supply: for each centre all centres from the nearest on, as squared
/// distance * 256 + index.
struct RefineTables {
    uint64_t nearby[256][256];
};

/// Moves the centres, from the owners that the points have on. So many threads may look at points; what comes out is
/// the same.
void refine(Point* points, uint32_t count, Center* centers, uint32_t center_count, RefineTables& tables,
            uint32_t threads) noexcept;

} // namespace vk::quantize
