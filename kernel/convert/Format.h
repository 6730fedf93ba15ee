// The pixel formats, once: a row per depth and colour order, with the functions that bring a run of its pixels to a
// working form and back.
//
// A working form is an array with one element per pixel. There are five, so that the order in which bits are dropped is
// always the converter's decision (Reduce.h) and never a format's: unpack and pack move bits and change no value.
#pragma once

#include "Vkrecord.h"
#include "kernel/format/Depths.h"

#include <cstddef>
#include <cstdint>

namespace vk::pixel {

/// Working forms and the type of their elements.
enum class Work : uint8_t {
    index8,    ///< uint8_t: palette index
    gray8,     ///< uint8_t: gray level
    gray_deep, ///< uint32_t: gray sample of the format's depth
    rgba8,     ///< Rgba8
    rgba16,    ///< Rgba16
};

/// A colour of four bytes, in the order of a palette entry in memory: blue, green, red, alpha.
struct Rgba8 {
    uint8_t b, g, r, a;
};

/// The same with 16-bit channels.
struct Rgba16 {
    uint16_t b, g, r, a;
};

/// Brings `count` packed pixels, starting on a byte, to the working form. Alpha is full where the format has none.
using Unpack = void (*)(const uint8_t* packed, void* work, size_t count) noexcept;

/// Packs `count` pixels of the working form; writes (count * bits + 7) / 8 bytes, spare bits clear.
using Pack = void (*)(const void* work, uint8_t* packed, size_t count) noexcept;

struct Format {
    int32_t bits;  ///< depth as the interface names it
    int32_t order; ///< COLORORDER_ value, or kAnyOrder
    Work work;
    bool alpha;      ///< the pixel has an alpha channel
    bool wide_gamut; ///< channels are wide-gamut ones
    Unpack unpack;
    Pack pack;

    /// Bits a pixel occupies.
    constexpr int32_t stored_bits() const noexcept { return bits == 0 ? 8 : bits; }
    constexpr bool indexed() const noexcept { return work == Work::index8; }
    constexpr bool deep_gray() const noexcept { return work == Work::gray_deep; }
};

/// Depths whose pixels are the same in every order.
constexpr int32_t kAnyOrder = -1;

/// The format of a depth and order; null when there is none.
const Format* find_format(int32_t bits, int32_t order) noexcept;

/// 8-bit gray whose working form is deep gray, for samples of which only some bits count. Not in the table.
const Format& gray8_samples() noexcept;

/// The whole table, for tests and benchmarks.
const Format* formats(size_t* count) noexcept;

/// Bytes that `pixels` pixels of a format occupy from a byte boundary on.
constexpr size_t format_bytes(const Format& format, size_t pixels) noexcept
{
    return (pixels * static_cast<size_t>(format.stored_bits()) + 7) / 8;
}

} // namespace vk::pixel
