// Blocks of pixels with rows and columns exchanged. Strides may be negative, so that together with the order of rows on
// either side this makes both quarter turns and both reflections about a diagonal.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vk {

/// Row c of the target is column c of the source. Both start on a byte. Where `rows` pixels do not fill their last byte
/// its rest is cleared, so that only the end of a row may be such a one.
struct TransposeBlock {
    const uint8_t* from;
    ptrdiff_t from_stride;
    uint8_t* to;
    ptrdiff_t to_stride;
    int32_t columns; ///< pixels of a source row, rows of the target
    int32_t rows;    ///< rows of the source, pixels of a target row
};

/// Transposes a block whose sides do not overlap, at every depth a bitmap may have. `stream` asks for writing past the
/// caches, which is done where target rows are whole cache lines.
void transpose(const TransposeBlock& block, int32_t bits, bool stream) noexcept;

} // namespace vk
