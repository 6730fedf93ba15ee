// Row and size arithmetic, in one place. Two kinds stand side by side on purpose: the wrapping forms give the record's
// documented 32-bit row size, the exact ones say how many bytes a row really needs.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vk {

/// The depths a bitmap may have.
constexpr bool is_bitmap_depth(int32_t bits) noexcept
{
    return (bits >= 1 && bits <= 8) || bits == 12 || bits == 16 || bits == 24 || bits == 32 || bits == 48 || bits == 64;
}

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

/// Byte offset of the byte that holds the first bit of pixel `column`, in 32-bit unsigned arithmetic.
constexpr uint32_t column_offset(int32_t bits, int32_t column) noexcept
{
    const uint32_t c = static_cast<uint32_t>(column);
    switch (bits) {
    case 1:
        return c / 8u;
    case 2:
        return c / 4u;
    case 3:
        return 3u * c / 8u;
    case 4:
        return c / 2u;
    case 5:
        return 5u * c / 8u;
    case 6:
        return 3u * c / 4u;
    case 7:
        return 7u * c / 8u;
    case 12:
        return c + c / 2u;
    case 16:
        return 2u * c;
    case 24:
        return 3u * c;
    case 32:
        return 4u * c;
    case 48:
        return 6u * c;
    case 64:
        return 8u * c;
    default:
        return c;
    }
}

/// Number of bytes that hold any bit of pixel `column`.
constexpr size_t pixel_bytes(int32_t bits, int32_t column) noexcept
{
    const uint64_t first = static_cast<uint64_t>(static_cast<uint32_t>(column)) * static_cast<uint64_t>(bits);
    return static_cast<size_t>((first + static_cast<uint64_t>(bits) + 7u) / 8u - first / 8u);
}

} // namespace vk
