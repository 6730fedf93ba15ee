// The instruction set that a file is compiled for, as the vector layer sees it.
//
// Everything of the layer stands in an inline namespace named like the set, so that the same kernel, compiled once a
// set, is as many different functions and none of them is taken for another by the linker.
#pragma once

#include <cstddef>
#include <cstdint>

#if defined(VK_SIMD_PLAIN)
#define VK_SIMD_SET loops
#elif defined(__AVX512F__) && defined(__AVX512BW__) && defined(__AVX512VL__) && defined(__AVX512DQ__) &&               \
    defined(__AVX512VBMI__) && defined(__AVX512VBMI2__)
#define VK_SIMD_SET avx512
#define VK_SIMD_X86 3
#elif defined(__AVX2__) && defined(__BMI2__)
#define VK_SIMD_SET avx2
#define VK_SIMD_X86 2
#elif defined(__SSE2__)
#define VK_SIMD_SET sse2
#define VK_SIMD_X86 1
#elif defined(__ARM_NEON) && defined(__aarch64__)
#define VK_SIMD_SET neon
#define VK_SIMD_NEON 1
#else
#define VK_SIMD_SET loops
#endif

#ifndef VK_SIMD_X86
#define VK_SIMD_X86 0
#endif
#ifndef VK_SIMD_NEON
#define VK_SIMD_NEON 0
#endif

#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ != __ORDER_LITTLE_ENDIAN__
#error "The library's records and rows are little-endian; a processor of the other order needs a port."
#endif

/// What the layer's operations are: parts of the loops that use them, whatever the optimizer thinks of it.
#define VK_SIMD_INLINE __attribute__((always_inline)) inline

namespace vk::simd::inline VK_SIMD_SET {

/// Bytes of the widest vectors of this set.
inline constexpr size_t kWidth = VK_SIMD_X86 == 3 ? 64 : VK_SIMD_X86 == 2 ? 32 : 16;

/// Whether parts of a vector can be read and written without touching what lies beyond them.
inline constexpr bool kMasksMemory = VK_SIMD_X86 == 3;

/// Whether bytes can be taken from anywhere in a vector, or in two, in one step.
inline constexpr bool kPermutesBytes = VK_SIMD_X86 == 3;

} // namespace vk::simd::inline VK_SIMD_SET
