// One row resized pixel by pixel at any depth of 1 to 64 bits, from either end, so that a buffer may be its own
// destination: walking from the start where rows shrink, from the end where they grow. Whole bytes are moved as they
// are; what is no depth is one stream of bits, highest first.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vk::resize {

/// Where destination pixels come from, as V_GetResizedScanLine takes it.
struct ScanLine {
    int32_t bits;        ///< 1 to 64
    uint32_t dst_bytes;  ///< of which those behind the pixels become clear at 1, 2, 3 and 5 bits
    int32_t start;       ///< first source pixel
    int32_t quotient;    ///< 0 when enlarging
    int32_t accumulator; ///< its first value
    int32_t remainder;
    int32_t denominator; ///< above 0
    int32_t count;       ///< destination pixels

    int64_t source(int64_t pixel) const noexcept;
};

/// A whole row of `from` pixels that become `to`.
ScanLine whole_line(int32_t bits, int32_t from, int32_t to) noexcept;

void scan_forward(const ScanLine& line, const uint8_t* src, uint8_t* dst) noexcept;
void scan_backward(const ScanLine& line, const uint8_t* src, uint8_t* dst) noexcept;

} // namespace vk::resize
