// The buffer converter: one row of pixels from any depth and colour order to any other, in place.
// The formats stand in common/pixel/; this is the entry that the kernel itself uses.
#pragma once

#include "Vkkrnx.h"

#include <cstdint>

namespace vk {

struct ColorLookup; ///< a prepared colour-to-index look-up; see common/pixel/ColorLookup.h

/// One conversion, as the exported functions take it.
struct ConvertJob {
    int32_t width = 0;
    int32_t src_bits = 0;
    int32_t dst_bits = 0;
    int32_t src_order = COLORORDER_RGB;
    int32_t dst_order = COLORORDER_RGB;
    const RGBQUAD* src_palette = nullptr;
    const RGBQUAD* dst_palette = nullptr;
    const V_RGBQUAD16* src_palette16 = nullptr;
    uint32_t flags = 0;
    int32_t low_bit = -1;
    int32_t high_bit = -1;
    COLORREF transparent = 0;
    const ColorLookup* lookup = nullptr;
};

/// Converts; SUCCESS or ERROR_INVALID_PARAMETER.
int convert_buffer(void* buffer, const ConvertJob& job) noexcept;

} // namespace vk
