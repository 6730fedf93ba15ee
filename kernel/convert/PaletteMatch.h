// Matching of pixels against one palette: the plain scan of kernel/palette/ColorMatch.h behind a small cache of recent
// colours, or a prepared look-up. Holds its memory itself, so it lives on the stack.
#pragma once

#include "kernel/convert/ColorLookup.h"
#include "kernel/convert/Format.h"

#include <cstddef>
#include <cstdint>

namespace vk::pixel {

class Matcher {
public:
    /// Leaves the matcher without a palette; `prepare` comes before any match.
    Matcher() noexcept {} // NOLINT: the cache is large and only filled when it is used

    /// Matches against `count` entries (1 to 256), or asks `lookup` when that is not null. Both stay the caller's.
    void prepare(const RGBQUAD* entries, uint32_t count, const ColorLookup* lookup) noexcept;

    /// Writes the index of every colour; alpha does not count.
    void match(const Rgba8* colors, uint8_t* indices, size_t count) noexcept;

    uint8_t match_one(Rgba8 color) noexcept;

private:
    static constexpr uint32_t kCacheBits = 10;

    const RGBQUAD* entries_;
    uint32_t count_;
    const ColorLookup* lookup_;
    uint32_t cache_[1u << kCacheBits]; ///< colour in the low 24 bits, index above
};

} // namespace vk::pixel
