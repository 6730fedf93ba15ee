// Which instruction sets this processor has, and which of them kernels may use: the one place that chooses at run time.
//
// A kernel is compiled once for each set that is worth it (`cmake/Simd.cmake`), into a namespace named like the set,
// and leaves a table of functions there. VK_SIMD_TABLE declares these tables and the choice among them. All sets give
// the same bits.
#pragma once

#include <cstdint>

namespace vk::simd {

/// Each level has all of those before it that the processor's kind knows.
enum class Level : uint8_t {
    plain, ///< the general code alone, without any fast path
    base,  ///< what every processor of the kind has
    neon,  ///< 64-bit ARM
    avx2,  ///< x86-64 with AVX2, BMI and BMI2
    avx512 ///< x86-64 with AVX-512 F, BW, VL, DQ, VBMI and VBMI2
};

/// The highest level that the processor has and limit_level() allows.
Level level() noexcept;

/// Switches levels above `highest` off, and on again; returns the level that results. For tests and benchmarks, while
/// nothing else runs.
Level limit_level(Level highest) noexcept;

/// Whether the processor takes single bits out of words, and puts them in (simd/Bits.h), in a few cycles: some that
/// have the instructions take hundreds.
bool moves_bits_fast() noexcept;

/// What a kernel has for each set; null where it has nothing.
template <class T> struct Choice {
    T* neon;
    T* avx2;
    T* avx512;

    /// The best of them up to a level, or null.
    T* at(Level highest) const noexcept
    {
        if (highest >= Level::avx512 && avx512 != nullptr)
            return avx512;
        if (highest >= Level::avx2 && avx2 != nullptr)
            return avx2;
        return highest >= Level::neon ? neon : nullptr;
    }
    T* best() const noexcept { return at(level()); }
};

} // namespace vk::simd

// VK_SIMD_TABLE(Type, name) declares the constant `name` of each set's namespace and `name_sets`, the choice among
// them. VK_SIMD_TABLE_256 is for kernels that gain nothing from vectors of 64 bytes, VK_SIMD_TABLE_512 for those that
// need what only sets with such vectors have.
#if defined(__x86_64__)
#define VK_SIMD_TABLE(Type, name)                                                                                      \
    namespace avx2 {                                                                                                   \
    extern const Type name;                                                                                            \
    }                                                                                                                  \
    namespace avx512 {                                                                                                 \
    extern const Type name;                                                                                            \
    }                                                                                                                  \
    inline constexpr ::vk::simd::Choice<const Type> name##_sets = {nullptr, &avx2::name, &avx512::name}
#define VK_SIMD_TABLE_256(Type, name)                                                                                  \
    namespace avx2 {                                                                                                   \
    extern const Type name;                                                                                            \
    }                                                                                                                  \
    inline constexpr ::vk::simd::Choice<const Type> name##_sets = {nullptr, &avx2::name, nullptr}
#define VK_SIMD_TABLE_512(Type, name)                                                                                  \
    namespace avx512 {                                                                                                 \
    extern const Type name;                                                                                            \
    }                                                                                                                  \
    inline constexpr ::vk::simd::Choice<const Type> name##_sets = {nullptr, nullptr, &avx512::name}
#elif defined(__aarch64__)
#define VK_SIMD_TABLE(Type, name)                                                                                      \
    namespace neon {                                                                                                   \
    extern const Type name;                                                                                            \
    }                                                                                                                  \
    inline constexpr ::vk::simd::Choice<const Type> name##_sets = {&neon::name, nullptr, nullptr}
#define VK_SIMD_TABLE_256(Type, name) VK_SIMD_TABLE(Type, name)
#else
#define VK_SIMD_TABLE(Type, name) inline constexpr ::vk::simd::Choice<const Type> name##_sets = {}
#define VK_SIMD_TABLE_256(Type, name) VK_SIMD_TABLE(Type, name)
#endif
#if !defined(VK_SIMD_TABLE_512)
#define VK_SIMD_TABLE_512(Type, name) inline constexpr ::vk::simd::Choice<const Type> name##_sets = {}
#endif
