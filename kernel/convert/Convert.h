// The buffer converter: a row of pixels from any depth and colour order to any other.
//
// This is what the kernel itself uses. convert_buffer works in place; whole-bitmap operations that read one store and
// write another use convert_rows, which decides once and leaves big results to streaming stores. The formats and all
// arithmetic stand in kernel/convert/.
#pragma once

#include "Vkrecord.h"

#include <cstddef>
#include <cstdint>

namespace vk {

struct ColorLookup; ///< a prepared colour-to-index look-up; see kernel/convert/ColorLookup.h

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
    int32_t to_low_bit = -1;  ///< the significant bits of deep gray destinations, beside those of the source
    int32_t to_high_bit = -1; ///< negative: the flags alone say which
    COLORREF transparent = 0;
    const ColorLookup* lookup = nullptr;
};

/// Converts; SUCCESS or ERROR_INVALID_PARAMETER.
int convert_buffer(void* buffer, const ConvertJob& job) noexcept;

/// Rows in memory.
struct SourceRows {
    const void* data;
    size_t stride;
};
struct TargetRows {
    void* data;
    size_t stride;
};

/// Converts `rows` rows of job.width pixels from one block to another that does not overlap it. Bytes between the end
/// of a row and the stride are left alone. SUCCESS or ERROR_INVALID_PARAMETER.
int convert_rows(SourceRows src, TargetRows dst, size_t rows, const ConvertJob& job) noexcept;

} // namespace vk
