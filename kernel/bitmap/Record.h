// The bitmap record itself: describing an image, without storage.
#pragma once

#include "Vkrecord.h"

namespace vk {

/// V_InitBitmapWithCallbacks for a valid record pointer and structure size.
int init_bitmap(BITMAPHANDLE& bitmap, uint32_t struct_size, int32_t width, int32_t height, int32_t bits,
                const BITMAPDATACALLBACKS* callbacks) noexcept;

/// Zeroes a record but for its size field.
void clear_record(BITMAPHANDLE& bitmap, uint32_t struct_size) noexcept;

} // namespace vk
