/**
 * @file TiffSamples.h
 * The samples of a TIFF page: what its tags say of them, and one by one out of a row of 1 to 16 bits each, the
 * highest bit first.
 */
#ifndef VK_TOOLS_TIFF_SAMPLES_H
#define VK_TOOLS_TIFF_SAMPLES_H

#include "tools/picture/Tiff.h"

#include <cstring>

namespace vk::tool {

/** What the tags say of the samples. */
struct TiffSamples {
    uint16_t bits = 1;
    uint16_t count = 1; ///< in a pixel
    uint16_t photometric = PHOTOMETRIC_MINISBLACK;
    uint16_t planes = PLANARCONFIG_CONTIG;
    uint16_t format = SAMPLEFORMAT_UINT;
    uint16_t extra = 0;         ///< samples that are no colour
    bool alpha = false;         ///< the first of these
    bool premultiplied = false; ///< what it covers
    int colors() const { return count - extra; }
    uint32_t get(const uint8_t* line, size_t index) const;
};

inline uint32_t TiffSamples::get(const uint8_t* line, size_t index) const
{
    if (bits == 8) {
        return line[index];
    }
    if (bits == 16) {
        uint16_t value;
        std::memcpy(&value, line + 2 * index, sizeof value);
        return value;
    }
    const size_t bit = index * bits;
    uint32_t window = 0;
    for (size_t i = 0; i < 3; ++i) {
        const size_t at = bit / 8 + i;
        window = window << 8 | (at * 8 < bit + bits ? line[at] : 0u);
    }
    return window >> (24 - bit % 8 - bits) & ((1u << bits) - 1);
}

} // namespace vk::tool

#endif
