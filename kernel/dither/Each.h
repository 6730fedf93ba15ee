// Loops that are unrolled for certain, so that small arrays of vectors stay in registers.
#pragma once

#include <cstddef>
#include <type_traits>
#include <utility>

namespace vk::dither {

/// Calls `act` with the constants 0 to N - 1.
template <size_t N, class Act> [[gnu::always_inline]] inline void each(Act&& act) noexcept
{
    [&]<size_t... I>(std::index_sequence<I...>) __attribute__((always_inline))
    {
        (act(std::integral_constant<size_t, I>{}), ...);
    }
    (std::make_index_sequence<N>{});
}

} // namespace vk::dither
