// Gray bitmaps: what counts as gray, the significant bits of samples, and the smallest and largest sample.
#pragma once

#include "Vkrecord.h"
#include "kernel/format/Depths.h"
#include "kernel/format/GrayRange.h"

#include <cstdint>

namespace vk {

/// Gray samples of more bits than indices have.
inline bool is_deep_gray(const BITMAPHANDLE& bitmap) noexcept
{
    return bitmap.Order == COLORORDER_GRAY && bitmap.BitsPerPixel > kMostIndexBits;
}

/// The significant bits of a bitmap of up to 32 bits per pixel.
inline GrayRange gray_range_of(const BITMAPHANDLE& bitmap) noexcept
{
    return gray_range_within(bitmap.BitsPerPixel, bitmap.LowBit, bitmap.HighBit);
}

/// True when two bitmaps of one depth are deep gray with the same significant bits, or neither is.
inline bool has_same_gray(const BITMAPHANDLE& a, const BITMAPHANDLE& b) noexcept
{
    return is_deep_gray(a) == is_deep_gray(b) && (!is_deep_gray(a) || gray_range_of(a) == gray_range_of(b));
}

/// As V_IntIsGrayScaleBitmap answers.
enum class GrayKind : int { none, ramp, inverted, deep };
GrayKind gray_kind(const BITMAPHANDLE& bitmap) noexcept;

/// Writes MinVal and MaxVal of a bitmap of gray samples; others stay as they are. The bitmap is accessed, and
/// check_rows accepts it. SUCCESS, or the failure of a transfer.
int refresh_gray_limits(BITMAPHANDLE& bitmap) noexcept;

/// The same for 8-bit gray too; the bitmap is gray.
int find_gray_limits(BITMAPHANDLE& bitmap) noexcept;

} // namespace vk
