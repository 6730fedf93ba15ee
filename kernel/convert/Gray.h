// Gray arithmetic: the weights, and the changes between numbers of bits. All of it is exact integer work; the order of
// operations is part of the result.
#pragma once

#include "kernel/format/GrayRange.h"

#include <cstdint>

namespace vk::pixel {

/// Gray of a colour; the three channels have the same width, and so has the result.
constexpr uint32_t gray_of(uint32_t red, uint32_t green, uint32_t blue) noexcept
{
    return (5u * green + 2u * red + blue + 4u) >> 3u;
}

/// Repeats the `bits` bits of a value from the top of a 32-bit word down.
constexpr uint32_t repeat_bits(uint32_t value, uint32_t bits) noexcept
{
    uint32_t filled = value << (32u - bits);
    for (uint32_t done = bits; done < 32; done *= 2) {
        filled |= filled >> done;
    }
    return filled;
}

/// A value of `from` bits in `to` bits: the top ones when there are fewer, else its bits repeated.
constexpr uint32_t resize_gray(uint32_t value, uint32_t from, uint32_t to) noexcept
{
    return to <= from ? value >> (from - to) : repeat_bits(value, from) >> (32u - to);
}

/// An 8-bit gray level in `bits` bits: proportional, not repeated.
constexpr uint32_t gray8_to_bits(uint32_t gray, uint32_t bits) noexcept
{
    if (bits <= 8) {
        return gray >> (8u - bits);
    }
    return static_cast<uint32_t>(gray * ((uint64_t{1} << bits) - 1u) / 255u);
}

} // namespace vk::pixel
