// Gray bitmaps: what counts as gray, the significant bits of samples, and the smallest and largest sample.
#pragma once

#include "Vkrecord.h"
#include "kernel/format/GrayParams.h"

#include <cstdint>

namespace vk {

/// Gray samples of more than 8 bits.
inline bool is_deep_gray(const BITMAPHANDLE& bitmap) noexcept
{
    return bitmap.Order == COLORORDER_GRAY && bitmap.BitsPerPixel > 8;
}

/// The significant bits of a bitmap of up to 32 bits per pixel.
inline GrayParams gray_params_of(const BITMAPHANDLE& bitmap) noexcept
{
    return gray_params(bitmap.BitsPerPixel, bitmap.LowBit, bitmap.HighBit);
}

/// As V_IntIsGrayScaleBitmap answers.
enum class GrayKind : int { none, ramp, inverted, deep };
GrayKind gray_kind(const BITMAPHANDLE& bitmap) noexcept;

/// Writes MinVal and MaxVal of a bitmap of gray samples; others stay as they are. The bitmap is accessed, and
/// check_rows accepts it. SUCCESS, or the failure of a transfer.
int refresh_gray_limits(BITMAPHANDLE& bitmap) noexcept;

} // namespace vk
