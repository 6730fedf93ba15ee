// The inner loop of compression: where the colour changes in a stretch of pixels. Included by one file per instruction
// set, each of which gets its own copy; RunLength.cpp chooses among them.
//
// Bits are reversed within their bytes first, so that pixel order is bit order in a little-endian word and the first
// change is the lowest set bit. Positions are written eight at a time without looking, which costs less than a
// mispredicted branch per change; the list therefore needs room behind its end.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#ifdef __BMI__
#include <immintrin.h>
#endif

namespace vk::runlength {

/// Words of one stretch: positions stay far below 65536.
constexpr size_t kStretchWords = 128;
/// Positions that a list of a stretch may be written to.
constexpr size_t kListRoom = 64 * kStretchWords + 64;

/// Appends the positions, counted from `base` on, at which the colour changes in `words` 8-byte words at `pixels` to
/// `list` (with `count` entries). `colour` (0 or 1) is that of the pixel before. Returns the new count.
using FindChanges = size_t (*)(const uint8_t* pixels, size_t words, uint32_t base, uint64_t colour, uint16_t* list,
                               size_t count) noexcept;

size_t find_changes_avx2(const uint8_t* pixels, size_t words, uint32_t base, uint64_t colour, uint16_t* list,
                         size_t count) noexcept;
size_t find_changes_avx512(const uint8_t* pixels, size_t words, uint32_t base, uint64_t colour, uint16_t* list,
                           size_t count) noexcept;

namespace {

[[maybe_unused]] inline uint64_t load_word(const void* from) noexcept
{
    uint64_t word = 0;
    std::memcpy(&word, from, sizeof word);
    return word;
}

/// Position of the lowest set bit; any number from 0 to 64 when there is none. No test for that case.
[[maybe_unused]] inline uint32_t lowest_bit(uint64_t bits) noexcept
{
#ifdef __BMI__
    return static_cast<uint32_t>(_tzcnt_u64(bits));
#else
    return static_cast<uint32_t>(__builtin_ctzll(bits | uint64_t{1} << 63));
#endif
}

/// Appends base + the positions of the `found` set bits of `changes`.
[[maybe_unused]] inline size_t append_positions(uint64_t changes, size_t found, uint32_t base, uint16_t* list,
                                                size_t count) noexcept
{
    // Volatile, or compilers first gather the eight in a vector register, which takes twice as long.
    volatile uint16_t* out = list + count;
    for (size_t done = 0; done < found; done += 8, out += 8) {
        for (size_t k = 0; k < 8; ++k) {
            out[k] = static_cast<uint16_t>(base + lowest_bit(changes)); // with none left, behind the list's end
            changes &= changes - 1;
        }
    }
    return count + found;
}

} // namespace

} // namespace vk::runlength
