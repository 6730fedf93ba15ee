// Where pixels lie inside the bytes of a row, by the packing of their depth (Depths.h). The functions take any number
// of bits; what is no depth is a stream of bits, highest first.
#pragma once

#include "kernel/format/Depths.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <numeric>

namespace vk {

/// Bits of the byte holding the first bit of pixel `column` that belong to that pixel or later ones.
constexpr uint8_t head_mask(int32_t bits, uint32_t column) noexcept
{
    const auto before = static_cast<uint32_t>(uint64_t{column} * static_cast<uint32_t>(bits) % 8);
    return static_cast<uint8_t>(packing_of(bits) == Packing::low_first ? 0xFFu << before : 0xFFu >> before);
}

/// Bits of the byte holding the last bit of the pixel before `end` that belong to that pixel or earlier ones.
constexpr uint8_t tail_mask(int32_t bits, uint32_t end) noexcept
{
    const auto used = static_cast<uint32_t>(uint64_t{end} * static_cast<uint32_t>(bits) % 8);
    if (used == 0)
        return 0xFF;
    return static_cast<uint8_t>(packing_of(bits) == Packing::low_first ? 0xFFu >> (8 - used) : 0xFF00u >> used);
}

namespace packed {

constexpr uint32_t bits_before(int32_t bits, uint32_t column) noexcept
{
    return static_cast<uint32_t>(uint64_t{column} * static_cast<uint32_t>(bits) % 8);
}

constexpr uint32_t extract_high_first(const uint8_t* bytes, int32_t bits, uint32_t column) noexcept
{
    const auto depth = static_cast<uint32_t>(bits);
    const uint32_t first = bits_before(bits, column);
    const uint32_t second = first + depth > 8 ? bytes[1] : 0;
    const uint32_t window = uint32_t{bytes[0]} << 8 | second;
    return window >> (16 - first - depth) & ((1u << depth) - 1);
}

constexpr void insert_high_first(uint8_t* bytes, int32_t bits, uint32_t column, uint32_t value) noexcept
{
    const auto depth = static_cast<uint32_t>(bits);
    const uint32_t first = bits_before(bits, column);
    const uint32_t shift = 16 - first - depth;
    const uint32_t mask = ((1u << depth) - 1) << shift;
    const bool straddles = first + depth > 8;
    uint32_t window = uint32_t{bytes[0]} << 8 | (straddles ? bytes[1] : 0u);
    window = (window & ~mask) | (value << shift & mask);
    bytes[0] = static_cast<uint8_t>(window >> 8);
    if (straddles)
        bytes[1] = static_cast<uint8_t>(window);
}

/// More bits than a byte has touch two bytes at least.
constexpr uint32_t extract_low_first(const uint8_t* bytes, int32_t bits, uint32_t column) noexcept
{
    const auto depth = static_cast<uint32_t>(bits);
    const uint32_t first = bits_before(bits, column);
    uint32_t window = bytes[0] | uint32_t{bytes[1]} << 8;
    if (first + depth > 16)
        window |= uint32_t{bytes[2]} << 16;
    return window >> first & ((1u << depth) - 1);
}

constexpr void insert_low_first(uint8_t* bytes, int32_t bits, uint32_t column, uint32_t value) noexcept
{
    const auto depth = static_cast<uint32_t>(bits);
    const uint32_t first = bits_before(bits, column);
    const uint32_t mask = ((1u << depth) - 1) << first;
    const uint32_t placed = value << first & mask;
    bytes[0] = static_cast<uint8_t>((bytes[0] & ~mask) | placed);
    bytes[1] = static_cast<uint8_t>((bytes[1] & ~(mask >> 8)) | placed >> 8);
    if (first + depth > 16)
        bytes[2] = static_cast<uint8_t>((bytes[2] & ~(mask >> 16)) | placed >> 16);
}

} // namespace packed

/// The pixel whose bytes start at `bytes`, of up to 8 bits or of a depth that is no whole bytes; column is its place in
/// the row.
constexpr uint32_t extract_bits(const uint8_t* bytes, int32_t bits, uint32_t column) noexcept
{
    return packing_of(bits) == Packing::low_first ? packed::extract_low_first(bytes, bits, column)
                                                  : packed::extract_high_first(bytes, bits, column);
}

/// Replaces that pixel and leaves its neighbours alone.
constexpr void insert_bits(uint8_t* bytes, int32_t bits, uint32_t column, uint32_t value) noexcept
{
    packing_of(bits) == Packing::low_first ? packed::insert_low_first(bytes, bits, column, value)
                                           : packed::insert_high_first(bytes, bits, column, value);
}

/// As many pixels of a depth whose lowest bits come first as fill bytes, in one word.
template <int32_t kBits> struct LowFirstGroup {
    static_assert(packing_of(kBits) == Packing::low_first);
    static constexpr uint32_t kPixels = 8 / std::gcd(static_cast<uint32_t>(kBits), 8u);
    static constexpr size_t kBytes = kPixels * static_cast<uint32_t>(kBits) / 8;
    static constexpr uint64_t kMask = (uint64_t{1} << kBits) - 1;
    static_assert(kBytes < sizeof(uint64_t), "one that begins inside of a byte has to fit too");

    /// `bytes` may be less, for the pixels at the end of a row, or more by one for those that begin inside of a byte.
    static uint64_t load(const uint8_t* from, size_t bytes = kBytes) noexcept
    {
        uint64_t word = 0;
        for (size_t i = 0; i < bytes; ++i)
            word |= uint64_t{from[i]} << (8 * i);
        return word;
    }
    static void store(uint8_t* to, uint64_t word, size_t bytes = kBytes) noexcept
    {
        for (size_t i = 0; i < bytes; ++i)
            to[i] = static_cast<uint8_t>(word >> (8 * i));
    }
    static constexpr uint32_t get(uint64_t word, size_t pixel) noexcept
    {
        return static_cast<uint32_t>(word >> (kBits * pixel) & kMask);
    }
    static constexpr uint64_t put(uint64_t value, size_t pixel) noexcept { return (value & kMask) << (kBits * pixel); }
};

/// Pixels of such a depth to numbers of their own, from the first of a row on, and back; spare bits become clear.
template <int32_t kBits, class Number> void spread_low_first(const uint8_t* from, Number* to, size_t count) noexcept
{
    using Group = LowFirstGroup<kBits>;
    for (; count >= Group::kPixels; count -= Group::kPixels, from += Group::kBytes, to += Group::kPixels) {
        const uint64_t word = Group::load(from);
        for (size_t i = 0; i < Group::kPixels; ++i)
            to[i] = static_cast<Number>(Group::get(word, i));
    }
    const uint64_t word = Group::load(from, (count * kBits + 7) / 8);
    for (size_t i = 0; i < count; ++i)
        to[i] = static_cast<Number>(Group::get(word, i));
}

template <int32_t kBits, class Number> void gather_low_first(const Number* from, uint8_t* to, size_t count) noexcept
{
    using Group = LowFirstGroup<kBits>;
    for (; count >= Group::kPixels; count -= Group::kPixels, from += Group::kPixels, to += Group::kBytes) {
        uint64_t word = 0;
        for (size_t i = 0; i < Group::kPixels; ++i)
            word |= Group::put(from[i], i);
        Group::store(to, word);
    }
    uint64_t word = 0;
    for (size_t i = 0; i < count; ++i)
        word |= Group::put(from[i], i);
    Group::store(to, word, (count * kBits + 7) / 8);
}

/// Pixel `column` of a row, of up to 32 bits.
template <int32_t kBits> uint32_t pixel_at(const uint8_t* row, size_t column) noexcept
{
    static_assert(kBits <= 32);
    const uint8_t* const bytes = row + column * static_cast<size_t>(kBits) / 8;
    if constexpr (packing_of(kBits) == Packing::bytes) {
        uint32_t value = 0;
        std::memcpy(&value, bytes, kBits / 8);
        return value;
    } else {
        return extract_bits(bytes, kBits, static_cast<uint32_t>(column));
    }
}

} // namespace vk
