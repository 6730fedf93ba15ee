// The instruction sets that tests hold kernels to, and a way to keep to one.
#pragma once

#include "simd/Level.h"

namespace vk::testing {

constexpr simd::Level kLevels[] = {simd::Level::plain, simd::Level::base, simd::Level::neon, simd::Level::avx2,
                                   simd::Level::avx512};

/// The lowest level at which kernels have loops of their own.
#if defined(__x86_64__)
constexpr simd::Level kFirstWithLoops = simd::Level::avx2;
#else
constexpr simd::Level kFirstWithLoops = simd::Level::neon;
#endif

/// Keeps all kernels to a level for the length of a scope.
class AtLevel {
public:
    explicit AtLevel(simd::Level level) : reached(simd::limit_level(level)) {}
    ~AtLevel() { simd::limit_level(simd::Level::avx512); }
    AtLevel(const AtLevel&) = delete;
    AtLevel& operator=(const AtLevel&) = delete;

    const simd::Level reached; ///< what this processor has of it
};

} // namespace vk::testing
