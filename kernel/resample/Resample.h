// Resampling of whole bitmaps: every pixel of the result is a weighted mean of the source pixels around it. The filters
// and the arithmetic stand in kernel/resample/; ResizeStream.h hands out rows one by one.
#pragma once

#include "Vkrecord.h"
#include "kernel/system/Progress.h"

#include <cstdint>

namespace vk {

enum class Filter : uint8_t {
    area,        ///< the mean of what a destination pixel covers, exact and rounded to nearest
    bicubic,     ///< cubic convolution with a = -0.5
    alternative, ///< windowed sinc of three lobes: the sharpest
};

/// Fills an allocated bitmap with another one resized to its dimensions. Both have the same depth and order, or the
/// source has 1 bit and the destination takes 8-bit gray levels; perspectives are equal or the pair top-left and
/// bottom-left, which reverses the rows. Locks both while it runs and reports progress as a pass of an
/// operation. SUCCESS, what
/// check_rows says of either, ERROR_INVALID_PARAMETER for formats that do not go together, ERROR_NO_MEMORY, the failure
/// of a transfer or the callback's refusal; the destination's pixels are then undefined.
int resample_into(BITMAPHANDLE& from, BITMAPHANDLE& to, Filter filter, const ProgressShare& share = {}) noexcept;

/// Replaces an allocated bitmap by itself resized, of the same depth and order. Dimensions below 1 are
/// ERROR_INVALID_PARAMETER, its own leave it alone. On failure it is as it was.
int resample_bitmap(BITMAPHANDLE& bitmap, int32_t width, int32_t height, Filter filter) noexcept;

} // namespace vk
