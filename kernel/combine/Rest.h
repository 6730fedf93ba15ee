// What is left of a row behind the last whole vector: worked on in memory that has room for one, so that short rows are
// as fast as long ones. Loops over vectors take it as a few more pixels, of which the last are of no account.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace vk::combine {

/// Pixels that no vector has more of.
constexpr size_t kRestPixels = 64;

/// Rows of pixels that are changed by those of a source, under a mask of a byte a pixel; either may be null.
struct RestOf {
    const uint8_t* from;
    uint8_t* to;
    const uint8_t* mask;
};

/// Calls `loop(rows, kRestPixels)` with copies of fewer pixels, each of `bytes` bytes, up to four, on all sides.
template <class Loop> void run_rest(const RestOf& rows, size_t count, size_t bytes, Loop loop) noexcept
{
    alignas(64) uint8_t from[4 * kRestPixels] = {};
    alignas(64) uint8_t to[4 * kRestPixels] = {};
    alignas(64) uint8_t mask[kRestPixels] = {};
    if (rows.from)
        std::memcpy(from, rows.from, count * bytes);
    if (rows.mask)
        std::memcpy(mask, rows.mask, count);
    std::memcpy(to, rows.to, count * bytes);
    loop(RestOf{from, to, mask}, kRestPixels);
    std::memcpy(rows.to, to, count * bytes);
}

} // namespace vk::combine
