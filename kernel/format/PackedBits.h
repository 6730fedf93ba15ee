// Where pixels lie inside the bytes of a row. Depths of 1 to 7 bits are one bit stream, most significant bit first; at
// 12 bits two pixels share three bytes, little-endian: the even pixel's high nibble is the low one of the middle byte.
#pragma once

#include <cstdint>

namespace vk {

/// Bits of the byte holding the first bit of pixel `column` that belong to that pixel or later ones.
constexpr uint8_t head_mask(int32_t bits, uint32_t column) noexcept
{
    if (bits == 12)
        return column % 2 ? 0xF0 : 0xFF;
    return static_cast<uint8_t>(0xFFu >> (uint64_t{column} * static_cast<uint32_t>(bits) % 8));
}

/// Bits of the byte holding the last bit of the pixel before `end` that belong to that pixel or earlier ones.
constexpr uint8_t tail_mask(int32_t bits, uint32_t end) noexcept
{
    if (bits == 12)
        return end % 2 ? 0x0F : 0xFF;
    const uint64_t used = uint64_t{end} * static_cast<uint32_t>(bits) % 8;
    return static_cast<uint8_t>(used ? 0xFF00u >> used : 0xFFu);
}

/// The pixel of 1 to 7 bits whose bytes start at `bytes`; column is its place in the row.
constexpr uint32_t extract_bits(const uint8_t* bytes, int32_t bits, uint32_t column) noexcept
{
    const auto depth = static_cast<uint32_t>(bits);
    const auto first = static_cast<uint32_t>(uint64_t{column} * depth % 8);
    const uint32_t second = first + depth > 8 ? bytes[1] : 0;
    const uint32_t window = uint32_t{bytes[0]} << 8 | second;
    return window >> (16 - first - depth) & ((1u << depth) - 1);
}

/// Replaces that pixel and leaves its neighbours alone.
constexpr void insert_bits(uint8_t* bytes, int32_t bits, uint32_t column, uint32_t value) noexcept
{
    const auto depth = static_cast<uint32_t>(bits);
    const auto first = static_cast<uint32_t>(uint64_t{column} * depth % 8);
    const uint32_t shift = 16 - first - depth;
    const uint32_t mask = ((1u << depth) - 1) << shift;
    const bool straddles = first + depth > 8;
    uint32_t window = uint32_t{bytes[0]} << 8 | (straddles ? bytes[1] : 0u);
    window = (window & ~mask) | (value << shift & mask);
    bytes[0] = static_cast<uint8_t>(window >> 8);
    if (straddles)
        bytes[1] = static_cast<uint8_t>(window);
}

/// The 12-bit pixel whose bytes start at `bytes`.
constexpr uint32_t extract_12(const uint8_t* bytes, uint32_t column) noexcept
{
    return column % 2 ? uint32_t{bytes[0]} >> 4 | uint32_t{bytes[1]} << 4 : bytes[0] | (bytes[1] & 0x0Fu) << 8;
}

constexpr void insert_12(uint8_t* bytes, uint32_t column, uint32_t value) noexcept
{
    if (column % 2) {
        bytes[0] = static_cast<uint8_t>((bytes[0] & 0x0Fu) | (value & 0x0Fu) << 4);
        bytes[1] = static_cast<uint8_t>(value >> 4);
    } else {
        bytes[0] = static_cast<uint8_t>(value);
        bytes[1] = static_cast<uint8_t>((bytes[1] & 0xF0u) | (value >> 8 & 0x0Fu));
    }
}

} // namespace vk
