// Row and size arithmetic, in one place. Two kinds stand side by side on purpose: the wrapping forms give the record's
// documented 32-bit row size, the exact ones say how many bytes a row really needs.
#pragma once

#include "kernel/format/Depths.h"

#include <cstddef>
#include <cstdint>

namespace vk {

/// The record's row size: the product wraps at 32 bits and the result is masked, for widths of any size.
constexpr uint32_t wrapping_bytes_per_line(int32_t width, int32_t bits) noexcept
{
    const uint32_t product = static_cast<uint32_t>(width) * static_cast<uint32_t>(bits);
    return ((product + 31u) / 32u * 4u) & 0x1FFFFFFCu;
}

/// Bytes that `pixels` pixels occupy when packed from a byte boundary on.
constexpr uint64_t packed_bytes(uint64_t pixels, int32_t bits) noexcept
{
    return (pixels * static_cast<uint64_t>(bits) + 7u) / 8u;
}

/// True when a row of `bytes_per_line` bytes holds `width` pixels.
constexpr bool row_holds_width(uint32_t bytes_per_line, int32_t width, int32_t bits) noexcept
{
    return width >= 0 && packed_bytes(static_cast<uint64_t>(width), bits) <= bytes_per_line;
}

/// Byte offset of the byte that holds the first bit of pixel `column`, in 32-bit unsigned arithmetic. What is no depth
/// has a byte for each pixel.
constexpr uint32_t column_offset(int32_t bits, int32_t column) noexcept
{
    const uint32_t c = static_cast<uint32_t>(column);
    const depths::Step step = depths::kSteps[depths::place(bits)];
    return c * step.whole + (c * step.part >> step.shift);
}

/// Number of bytes that hold any bit of pixel `column`.
constexpr size_t pixel_bytes(int32_t bits, int32_t column) noexcept
{
    const uint64_t first = static_cast<uint64_t>(static_cast<uint32_t>(column)) * static_cast<uint64_t>(bits);
    return static_cast<size_t>((first + static_cast<uint64_t>(bits) + 7u) / 8u - first / 8u);
}

} // namespace vk
