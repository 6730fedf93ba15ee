// Whole cache lines past the caches, and steps that begin with them.
#pragma once

#include "simd/Mask.h"

namespace vk::simd::inline VK_SIMD_SET {

inline constexpr size_t kLine = 64;

/// Writes a line from memory at any address. fence() ends a run of them.
VK_SIMD_INLINE void stream_line(uint8_t* to, const uint8_t* from) noexcept
{
    for (size_t i = 0; i < kLine; i += kWidth)
        stream(to + i, load<Wide<uint8_t>>(from + i));
}

/// Asks for memory that will be wanted soon, which may lie behind a row; a line at a time needs less than the
/// conversions do.
VK_SIMD_INLINE void fetch_line_ahead(const uint8_t* at) noexcept
{
    constexpr uintptr_t kAhead = 2048;
    __builtin_prefetch(reinterpret_cast<const void*>(reinterpret_cast<uintptr_t>(at) + kAhead));
}

/// Copies whole lines, `bytes` in all.
VK_SIMD_INLINE void stream_lines(uint8_t* to, const uint8_t* from, size_t bytes) noexcept
{
    for (size_t i = 0; i < bytes; i += kLine) {
        fetch_line_ahead(from + i);
        stream_line(to + i, from + i);
    }
}

/// Writes lines, three of them by turns from a pattern.
VK_SIMD_INLINE void stream_pattern(uint8_t* to, const uint8_t* pattern, size_t lines) noexcept
{
    for (; lines >= 3; lines -= 3, to += 3 * kLine)
        for (size_t i = 0; i < 3; ++i)
            stream_line(to + kLine * i, pattern + kLine * i);
    for (size_t i = 0; i < lines; ++i)
        stream_line(to + kLine * i, pattern + kLine * i);
}

#if VK_SIMD_X86 == 3

/// for_steps of bytes that change in place, where all steps but the first begin with a vector of `to`.
template <class F> VK_SIMD_INLINE size_t for_aligned_steps(uint8_t* to, size_t bytes, F&& step) noexcept
{
    size_t done = 0;
    const size_t begun = reinterpret_cast<uintptr_t>(to) % kWidth;
    if (begun != 0 && bytes > kWidth) {
        done = kWidth - begun;
        step(0, Some{done});
    }
    return done + for_steps<kWidth>(bytes - done, [&](size_t first, auto part) noexcept { step(done + first, part); });
}

#else

/// A step whose result is kept.
struct Kept {
    Wide<uint8_t>& result;

    template <class V> VK_SIMD_INLINE V load(const void* from) const noexcept { return simd::load<V>(from); }
    VK_SIMD_INLINE void store(void*, Wide<uint8_t> v) const noexcept { result = v; }
};

/// for_steps of bytes that change in place. The last vector's are worked out first, from what is there, and stored in
/// the end over what the one before did.
template <class F> VK_SIMD_INLINE size_t for_aligned_steps(uint8_t* to, size_t bytes, F&& step) noexcept
{
    if (bytes < kWidth)
        return 0;
    Wide<uint8_t> last{};
    step(bytes - kWidth, Kept{last});
    for_steps<kWidth>(bytes - 1, step);
    simd::store(to + bytes - kWidth, last);
    return bytes;
}

#endif

} // namespace vk::simd::inline VK_SIMD_SET
