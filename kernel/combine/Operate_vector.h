// What loops of arithmetic share: the operation on a vector of numbers, and the choice among operations.
#pragma once

#include "kernel/combine/ChannelOperation.h"
#include "simd/Simd.h"

namespace vk::combine::VK_SIMD_SET {

/// All but products; sums end at the largest number of a lane.
template <uint32_t Operation, class Numbers> VK_SIMD_INLINE Numbers operate_on(Numbers s, Numbers d) noexcept
{
    using namespace simd;
    if constexpr (Operation == COMBINE_ADD)
        return add_clamped(s, d);
    else if constexpr (Operation == COMBINE_SUBTRACT)
        return sub_clamped(d, s);
    else if constexpr (Operation == COMBINE_MIN)
        return min(s, d);
    else if constexpr (Operation == COMBINE_MAX)
        return max(s, d);
    else if constexpr (Operation == COMBINE_AVERAGE)
        return average(s, d);
    else
        return sub_clamped(s, d) | sub_clamped(d, s);
}

/// Calls `run` with the operation as its template argument.
template <class Run> auto with_operation(uint32_t operation, const Run& run) noexcept
{
    switch (operation) {
    case COMBINE_ADD:
        return run.template operator()<COMBINE_ADD>();
    case COMBINE_SUBTRACT:
        return run.template operator()<COMBINE_SUBTRACT>();
    case COMBINE_MIN:
        return run.template operator()<COMBINE_MIN>();
    case COMBINE_MAX:
        return run.template operator()<COMBINE_MAX>();
    case COMBINE_AVERAGE:
        return run.template operator()<COMBINE_AVERAGE>();
    case COMBINE_DIFFERENCE:
        return run.template operator()<COMBINE_DIFFERENCE>();
    default:
        return run.template operator()<COMBINE_MULTIPLY>();
    }
}

} // namespace vk::combine::VK_SIMD_SET
