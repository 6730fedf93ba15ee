// The inner loop of compression: where the colour changes in a stretch of pixels.
//
// Bits are reversed within their bytes first, so that pixel order is bit order in a little-endian word and the first
// change is the lowest set bit. Positions are written several at a time without looking; the list therefore needs room
// behind its end.
#pragma once

#include "simd/Level.h"

#include <cstddef>
#include <cstdint>

namespace vk::runlength {

/// Words of one stretch: positions stay far below 65536.
constexpr size_t kStretchWords = 128;
/// Positions that a list of a stretch may be written to.
constexpr size_t kListRoom = 64 * kStretchWords + 64;

/// Appends the positions, counted from `base` on, at which the colour changes in `words` 8-byte words at `pixels` to
/// `list` (with `count` entries). `colour` (0 or 1) is that of the pixel before. Returns the new count.
using FindChanges = size_t (*)(const uint8_t* pixels, size_t words, uint32_t base, uint64_t colour, uint16_t* list,
                               size_t count) noexcept;
struct ChangeLoops {
    FindChanges find;
};

VK_SIMD_TABLE(ChangeLoops, change_loops);

} // namespace vk::runlength
