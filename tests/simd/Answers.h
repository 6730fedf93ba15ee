// What the tables of operations share: operands in memory, and results beside those of loops.
#pragma once

#include "simd/Simd.h"
#include "tests/simd/Operations.h"

namespace vk::testing::VK_SIMD_SET {

using namespace simd;

template <class T, size_t N>
VK_SIMD_INLINE size_t answer(uint8_t* got, uint8_t* expected, Vec<T, N> v, Vec<T, N> loop) noexcept
{
    store(got, v);
    store(expected, loop);
    return sizeof v;
}
VK_SIMD_INLINE size_t answer(uint8_t* got, uint8_t* expected, uint64_t bits, uint64_t loop) noexcept
{
    __builtin_memcpy(got, &bits, sizeof bits);
    __builtin_memcpy(expected, &loop, sizeof loop);
    return sizeof bits;
}

/// Against bytes that a function of the index gives.
template <class T, size_t N, class F>
VK_SIMD_INLINE size_t answer_by(uint8_t* got, uint8_t* expected, Vec<T, N> v, F loop) noexcept
{
    Vec<T, N> result;
    for (size_t i = 0; i < N; ++i)
        result.raw[i] = static_cast<T>(loop(i));
    return answer(got, expected, v, result);
}

template <size_t Count> constexpr Operations::List list_of(const Operation (&operations_of)[Count]) noexcept
{
    return {operations_of, Count};
}

#define VK_TEXT(name) #name
#define VK_NAME(set) VK_TEXT(set)

} // namespace vk::testing::VK_SIMD_SET
