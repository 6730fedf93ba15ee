#include "kernel/storage/codec/Changes.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace vk::codec {

namespace {

constexpr uint32_t kWordBits = 64;

/// Up to 64 pixels, the first one highest, as words on this processor.
uint64_t load_pixels(const uint8_t* from, size_t bytes) noexcept
{
    uint64_t word = 0;
    std::memcpy(&word, from, bytes);
    return __builtin_bswap64(word);
}

/// The highest `count` bits, of 1 to 64.
constexpr uint64_t high_bits(uint32_t count) noexcept
{
    return ~uint64_t{0} << (kWordBits - count);
}

/// Each bit becomes the parity of itself and all higher ones.
constexpr uint64_t fill_down(uint64_t bits) noexcept
{
    for (uint32_t shift = 1; shift < kWordBits; shift *= 2)
        bits ^= bits >> shift;
    return bits;
}

} // namespace

size_t find_changes(const uint8_t* row, uint32_t width, int32_t* changes) noexcept
{
    int32_t* out = changes;
    uint64_t last = 0; // the pixel before, in the highest bit
    for (uint32_t x = 0; x < width; x += std::min(kWordBits, width - x)) {
        const uint32_t count = std::min(kWordBits, width - x);
        const uint64_t pixels =
            count == kWordBits ? load_pixels(row + x / 8, 8) : load_pixels(row + x / 8, (count + 7) / 8);
        uint64_t edges = (pixels ^ (pixels >> 1 | last)) & high_bits(count);
        last = pixels << (kWordBits - 1);
        while (edges != 0) {
            const int at = std::countl_zero(edges);
            *out++ = static_cast<int32_t>(x) + at;
            edges ^= (uint64_t{1} << (kWordBits - 1)) >> at;
        }
    }
    const auto found = static_cast<size_t>(out - changes);
    guard_changes(changes, found, width);
    return found;
}

void guard_changes(int32_t* changes, size_t count, uint32_t width) noexcept
{
    std::fill_n(changes + count, kGuards, static_cast<int32_t>(width));
}

void draw_changes(const int32_t* changes, uint32_t width, uint8_t* row) noexcept
{
    uint64_t colour = 0; // all bits of the colour that goes on
    for (uint32_t x = 0; x < width; x += std::min(kWordBits, width - x)) {
        const uint32_t count = std::min(kWordBits, width - x);
        const int64_t end = int64_t{x} + count;
        uint64_t edges = 0;
        for (; *changes < end; ++changes)
            edges |= (uint64_t{1} << (kWordBits - 1)) >> (static_cast<uint32_t>(*changes) - x);
        const uint64_t pixels = edges == 0 ? colour : fill_down(edges) ^ colour;
        colour = pixels & 1 ? ~uint64_t{0} : 0;
        const uint64_t word = __builtin_bswap64(pixels & high_bits(count));
        std::memcpy(row + x / 8, &word, count == kWordBits ? 8 : (count + 7) / 8);
    }
}

} // namespace vk::codec
