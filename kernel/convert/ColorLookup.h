// A prepared colour-to-index look-up: whatever can say the index of many colours faster than the scan.
//
// The converter asks it, when it is given one, in place of matching against the destination palette; the exported
// entries never give one. LevelLookup is the form made of nested tables; ExactLookup.h has the one the kernel prepares
// itself.
#pragma once

#include "kernel/convert/Format.h"

#include <cstddef>
#include <cstdint>

namespace vk {

/// The common part of every look-up; a look-up holds it as its first member.
struct ColorLookup {
    /// Writes the index of each colour; one that has none gives 0xFF, the low byte of -1.
    void (*match)(const ColorLookup* self, const pixel::Rgba8* colors, uint8_t* indices, size_t count) noexcept;
};

namespace pixel {

/// Three nested tables. An entry of `by_blue` is an index below 256, all ones (there is none), or the address of a
/// table by green of such entries, whose addresses are those of tables of 32-bit indices by red.
struct LevelLookup {
    ColorLookup base;
    const uint64_t* by_blue; ///< 256 entries
};

/// A look-up over nested tables that stay the caller's.
LevelLookup make_level_lookup(const uint64_t* by_blue) noexcept;

} // namespace pixel
} // namespace vk
