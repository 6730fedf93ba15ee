// Pixels of less than a byte spread to a byte each, and of 12 bits to a word, and back: a row of a depth that is no
// whole bytes goes through the loops of one that is.
#pragma once

#include "simd/Level.h"

#include <cstddef>
#include <cstdint>

namespace vk {

/// Bytes of a pixel of 1 to 7 or of 12 bits when it is spread.
constexpr size_t spread_size(int32_t bits) noexcept
{
    return bits > 8 ? 2 : 1;
}

/// Pixels of 1 to 7 bits spread and gathered by words of 64 bits, and those of 12 by vectors: of these as many from the
/// first on as vectors allow, an even number.
struct SpreadLoops {
    void (*spread)(const uint8_t* from, uint8_t* to, size_t count, int32_t bits) noexcept;
    void (*gather)(const uint8_t* from, uint8_t* to, size_t count, int32_t bits) noexcept;
    size_t (*spread_12)(const uint8_t* from, uint8_t* to, size_t count) noexcept;
    size_t (*gather_12)(const uint8_t* from, uint8_t* to, size_t count) noexcept;
};
VK_SIMD_TABLE_256(SpreadLoops, spread_loops);

/// The loops that a level has for it. Where many short rows are spread they are chosen once.
struct SpreadWay {
    const SpreadLoops* words;   ///< for pixels of 1 to 7 bits; null where processors are slow at bits
    const SpreadLoops* vectors; ///< for those of 12

    SpreadWay() noexcept;
};

/// Spreads `count` pixels of such a depth that begin with a byte, and gathers them again. No byte that holds none of
/// the pixels is read or written; the rest of the last one is cleared, and so is what of a byte or word the depth has
/// no bits for.
void spread_pixels(const uint8_t* from, void* to, size_t count, int32_t bits, const SpreadWay& way = {}) noexcept;
void gather_pixels(const void* from, uint8_t* to, size_t count, int32_t bits, const SpreadWay& way = {}) noexcept;

} // namespace vk
