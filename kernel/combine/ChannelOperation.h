// Arithmetic on channels of 8 and 16 bits: rows of them, four to a pixel where there is alpha, which stays.
//
// Every form gives the same: nothing is rounded but the product, once, to the nearest.
#pragma once

#include "Vkcombine.h"
#include "simd/Level.h"

#include <cstddef>
#include <cstdint>

namespace vk::combine {

/// An operation on values of 0 to `most`, as COMBINE_ flags state it.
struct Arithmetic {
    uint32_t operation;
    bool inverts_source;
    bool inverts_destination;

    explicit constexpr Arithmetic(uint32_t flags) noexcept
        : operation(flags & COMBINE_OPERATIONS), inverts_source((flags & COMBINE_NOT_SRC) != 0),
          inverts_destination((flags & COMBINE_NOT_DST) != 0)
    {}
};

/// One value. `least` and `most` are those of its channel; a signed one's inverse is its mirror image.
constexpr int64_t arithmetic(const Arithmetic& how, int64_t s, int64_t d, int64_t least, int64_t most) noexcept
{
    if (how.inverts_source)
        s = least + most - s;
    if (how.inverts_destination)
        d = least + most - d;
    const auto clamped = [&](int64_t value) noexcept { return value < least ? least : value > most ? most : value; };
    switch (how.operation) {
    case COMBINE_ADD:
        return clamped(s + d);
    case COMBINE_SUBTRACT:
        return clamped(d - s);
    case COMBINE_MIN:
        return s < d ? s : d;
    case COMBINE_MAX:
        return s > d ? s : d;
    case COMBINE_AVERAGE:
        return (s + d + 1) >> 1;
    case COMBINE_DIFFERENCE:
        return clamped(s > d ? s - d : d - s);
    default: {
        const bool is_negative = (s < 0) != (d < 0);
        const uint64_t product = static_cast<uint64_t>(s < 0 ? -s : s) * static_cast<uint64_t>(d < 0 ? -d : d);
        const auto limit = static_cast<uint64_t>(most);
        const auto rounded = static_cast<int64_t>((product + limit / 2) / limit);
        return clamped(is_negative ? -rounded : rounded);
    }
    }
}

/// Changes `count` channels of `bytes` bytes (1 or 2) each; with `has_alpha` every fourth stays.
void combine_channels(const Arithmetic& how, const uint8_t* from, uint8_t* to, size_t count, int bytes,
                      bool has_alpha) noexcept;

/// The same by vectors, as many bytes as they take; returns how many.
struct ChannelLoops {
    size_t (*combine)(const Arithmetic& how, const uint8_t* from, uint8_t* to, size_t bytes_in_all, int bytes,
                      bool has_alpha) noexcept;
};
VK_SIMD_TABLE(ChannelLoops, channel_loops);

} // namespace vk::combine
