// What is left of a row behind the last whole vector: worked on in memory that has room for one, so that short rows are
// as fast as long ones. Loops over vectors take it as a few more pixels, of which the last are of no account.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace vk::combine {

/// Pixels that no vector has more of; of pixels of four bytes it has no more than a quarter.
constexpr size_t kRestPixels = 64;

/// Rows of pixels that are changed by those of a source, under a mask of a byte a pixel; either may be null.
struct RestOf {
    const uint8_t* from;
    uint8_t* to;
    const uint8_t* mask;
};

/// Calls `loop(rows, room)` with copies of fewer than kRestPixels pixels, each of `bytes` bytes, up to four, and of
/// what more fills the last vector.
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
    constexpr size_t kQuarter = kRestPixels / 4;
    loop(RestOf{from, to, mask}, bytes == 4 ? (count + kQuarter - 1) / kQuarter * kQuarter : kRestPixels);
    std::memcpy(rows.to, to, count * bytes);
}

} // namespace vk::combine
