// A slow second opinion on the buffer converter: one pixel at a time, from bits to values and back, written from the
// rules alone. It shares nothing with the library but the constants and plain records of the public header.
#pragma once

#include "Vkkrnx.h"

#include <cstdint>
#include <vector>

namespace vk::reference {

/// The arguments of a conversion.
struct Conversion {
    int32_t width = 0;
    int32_t src_bits = 0;
    int32_t dst_bits = 0;
    int32_t src_order = 0;
    int32_t dst_order = 0;
    std::vector<RGBQUAD> src_palette; ///< empty for a null palette
    std::vector<RGBQUAD> dst_palette;
    std::vector<V_RGBQUAD16> src_palette16;
    uint32_t flags = 0;
    int32_t low_bit = -1;
    int32_t high_bit = -1;
    COLORREF transparent = 0;
};

/// Entry `index` of the fixed palette of 1 to 8 bits; 9: of the cube's 216 colours with its black entries.
RGBQUAD fixed_entry(int32_t bits, uint32_t index);
std::vector<RGBQUAD> fixed_entries(int32_t bits);

/// The nearest entry under the rule of ties.
int32_t nearest(const std::vector<RGBQUAD>& palette, int red, int green, int blue);

/// Whether the converter takes the job.
bool accepted(const Conversion& job);

/// The destination row of an accepted job, (width * bits + 7) / 8 bytes with clear spare bits.
std::vector<uint8_t> convert(const Conversion& job, const std::vector<uint8_t>& src);

} // namespace vk::reference
