// Whole bitmaps from pictures and pictures from whole bitmaps.
#pragma once

#include "Vkrecord.h"
#include "kernel/yuv/Picture.h"

namespace vk::yuv {

/// The record is empty but for StructSize after a failure.
int make_bitmap(BITMAPHANDLE& bitmap, uint32_t struct_size, const Picture& picture) noexcept;

/// The bitmap is allocated.
int make_picture(BITMAPHANDLE& bitmap, const Picture& picture) noexcept;

} // namespace vk::yuv
