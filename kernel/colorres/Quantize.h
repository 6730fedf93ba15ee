// Palettes made for pictures. Pixels are counted colour by colour while there are few, then by cells of 4 x 4 x 4
// colours. A palette of all colours is exact; otherwise cells are divided where that lowers the squared error most
// (Cut.h), and the division is then improved (Refine.h). All arithmetic gives the same result on every system.
#pragma once

#include "Vktypes.h"
#include "kernel/colorres/ColorCount.h"

#include <cstddef>
#include <cstdint>

namespace vk::quantize {

class Quantizer {
public:
    /// For palettes of at most `colors` entries, 2 to 256.
    explicit Quantizer(uint32_t colors) noexcept : colors_(colors), counted_(colors) {}

    /// Adds pixels of 32 bits: blue, green, red and a byte that does not count. False without memory.
    bool add(const uint8_t* pixels, size_t count) noexcept { return counted_.add(pixels, count); }

    /// Adds what was counted elsewhere, by cells; not as long as all colours are known.
    void add(const ColorCount& counted) noexcept { counted_.add(counted); }

    /// Every colour is known; the order of pixels counts, and it is for one thread at a time.
    bool is_exact() const noexcept { return counted_.is_exact(); }

    /// Whether so many more pixels can be counted, in any order.
    bool has_room(uint64_t pixels) const noexcept { return counted_.has_room(pixels); }

    /// Writes the palette, dark entries first, and whether it has every colour that was added. False without memory.
    bool make(RGBQUAD* entries, uint32_t* count, bool* is_exact) noexcept;

private:
    uint32_t colors_;
    ColorCount counted_;
};

} // namespace vk::quantize
