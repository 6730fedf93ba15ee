// Straight windows without a table: a product and a shift that give the same results.
#pragma once

#include "kernel/format/GrayRange.h"
#include "kernel/window/Curve.h"
#include "simd/Level.h"

#include <cstddef>
#include <cstdint>

namespace vk {

/// How far ahead samples are fetched: the work on some leaves memory idle. What lies behind a row is the next one.
constexpr uintptr_t kAhead = 8192;

/// The gray samples of a bitmap.
struct SampleForm {
    int32_t bits = 0;         ///< the bitmap's depth: 8, 12, 16 or 32
    GrayRange significant;    ///< the significant ones
    bool is_signed = false;   ///< two's complement in the significant bits
    bool is_inverted = false; ///< palette indices from white to black

    SampleRange range() const noexcept;

    /// The significant bits of a sample.
    uint32_t stored(int64_t sample) const noexcept { return static_cast<uint32_t>(sample) & significant.mask(); }
};

/// level = (distance * factor >> before) + offset >> shift, with the distance of a sample from `base`, from 0 to
/// `span`. Samples are the unsigned numbers they are stored as, with their sign bit the other way round where they are
/// signed. The sum has 32 bits, and the level stands in its upper half. Either nothing is dropped before it, or the
/// lower 16 of 48 bits are.
struct LinearWindow {
    uint32_t base = 0;
    uint32_t span = 0;
    uint32_t factor = 0;
    uint32_t offset = 0;
    int32_t before = 0; ///< 0 or 16
    int32_t shift = 24; ///< 16 to 24
    bool is_found = false;
};

/// The bit that is the other way round in signed samples, or none.
inline uint32_t sign_bit(const SampleForm& form) noexcept
{
    return form.is_signed ? form.significant.mask() / 2 + 1 : 0;
}

/// The level of a 16-bit sample; `flip` is 255 for inverted levels.
inline uint8_t linear_level(const LinearWindow& window, const SampleForm& form, uint8_t flip,
                            const uint8_t* at) noexcept
{
    const uint32_t raw = at[0] | uint32_t{at[1]} << 8;
    const uint32_t sample = (raw >> form.significant.shift & form.significant.mask()) ^ sign_bit(form);
    const uint32_t above = sample > window.base ? sample - window.base : 0;
    const uint64_t distance = above < window.span ? above : window.span;
    const uint64_t sum = (distance * window.factor >> window.before) + window.offset;
    return static_cast<uint8_t>(static_cast<uint8_t>(sum >> window.shift) ^ flip);
}

/// Finds one that gives what the steps of a window say for every 16-bit sample; not found where there is none.
LinearWindow find_linear(const WindowSteps& steps, const V_WINDOW& window, const SampleForm& form) noexcept;

/// The same for rows of 16-bit samples. Big results go past the caches with `streams`.
struct LinearLoops {
    void (*run)(const LinearWindow& window, const SampleForm& form, uint8_t flip, const uint8_t* row, uint8_t* levels,
                size_t count, bool streams) noexcept;
};
VK_SIMD_TABLE(LinearLoops, linear_loops);

} // namespace vk
