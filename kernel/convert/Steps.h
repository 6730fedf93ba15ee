// The steps of the general conversion by vectors: pixels brought to working forms and back, and from one working form
// to another.
//
// A loop does as many pixels, from the first on, as fill its vectors, and says how many; the plain code beside it
// (Format.cpp, Reduce.cpp) does the rest. None reads or writes anything but these pixels and others that it was given.
#pragma once

#include "kernel/convert/Format.h"
#include "simd/Level.h"

#include <cstddef>
#include <cstdint>

namespace vk::pixel {

/// What pixels look like in memory that are not their working form already.
enum class Layout : uint8_t {
    gray12,
    gray16,
    red_555, ///< red in the lowest bits
    blue_555,
    blue_565,
    red_24, ///< red first
    blue_24,
    red_32,
    red_48,
    blue_48,
    red_64
};
constexpr size_t kLayouts = 11;

/// How gray samples change: `from` significant bits from bit `shift` on become `to` bits, which are dropped from below
/// or repeated, from bit `place` on. Both positions are below 32.
struct SampleChange {
    uint32_t shift;
    uint32_t from;
    uint32_t to;
    uint32_t place;
};

/// The smallest and the largest value of some samples.
struct SampleLimits {
    uint32_t least = UINT32_MAX;
    uint32_t most = 0;
};

/// Two colours to choose from: the second where `weights` times the channels, twice, are below `limit`, either where
/// they are equal to it.
struct PairRule {
    int16_t blue, green, red;
    int32_t limit;
};

struct StepLoops {
    size_t (*unpack[kLayouts])(const uint8_t* packed, void* work, size_t count) noexcept;
    size_t (*pack[kLayouts])(const void* work, uint8_t* packed, size_t count) noexcept;

    size_t (*gray_of_colors)(const Rgba8* colors, uint8_t* grays, size_t count) noexcept;
    size_t (*widen_colors)(const Rgba8* colors, Rgba16* wide, size_t count) noexcept;
    size_t (*narrow_colors)(const Rgba16* wide, Rgba8* colors, size_t count) noexcept;
    size_t (*colors_of_gray)(const uint8_t* grays, Rgba8* colors, size_t count) noexcept;
    size_t (*samples_of_colors)(const Rgba16* wide, uint32_t* samples, size_t count) noexcept; ///< of 16 bits
    size_t (*change_samples)(const uint32_t* samples, uint32_t* changed, size_t count, SampleChange change) noexcept;
    size_t (*grays_of_samples)(const uint32_t* samples, uint8_t* grays, size_t count, SampleChange to_8) noexcept;
    size_t (*colors_of_samples)(const uint32_t* samples, Rgba16* wide, size_t count, SampleChange to_16) noexcept;

    /// Widens limits by the samples' values, whose bits that `flip` has are turned over.
    size_t (*widen_limits)(const uint32_t* samples, SampleLimits* limits, size_t count, SampleChange values,
                           uint32_t flip) noexcept;

    /// Entries of a table of 256.
    size_t (*look_up)(const uint8_t* indices, uint8_t* found, size_t count, const uint8_t* table) noexcept;

    /// 0 or 1 by the rule, as far as no vector has a colour that may be either.
    size_t (*match_pair)(const Rgba8* colors, uint8_t* indices, size_t count, PairRule rule) noexcept;
};
VK_SIMD_TABLE(StepLoops, step_loops);

/// Calls one of the level's loops, if there are any, and says how many pixels it did.
template <auto kLoop, class In, class Out, class... More>
size_t run_step(const In* in, Out* out, size_t count, More... more) noexcept
{
    const StepLoops* const loops = step_loops_sets.best();
    return loops != nullptr ? (loops->*kLoop)(in, out, count, more...) : 0;
}

} // namespace vk::pixel
