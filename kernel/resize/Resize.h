// Resizing one bitmap into another, and the choice of how. InPlace.cpp replaces bitmaps with the help of this,
// Stretch.cpp brings depths and view perspectives together first.
#pragma once

#include "Vkrecord.h"
#include "kernel/system/Progress.h"

#include <cstdint>

namespace vk {

/// V_IntResizeBitmap for checked records, as a pass of an operation.
int resize_into(BITMAPHANDLE& from, BITMAPHANDLE& to, uint32_t flags, const ProgressShare& share = {}) noexcept;

/// What both bitmaps of a resize must be: allocated, and check_rows accepts them.
int check_resize(const BITMAPHANDLE* from, const BITMAPHANDLE* to) noexcept;

/// V_SizeBitmap for an allocated bitmap and dimensions that are not its own. InPlace.cpp.
int size_bitmap(BITMAPHANDLE& bitmap, int32_t width, int32_t height, uint32_t flags) noexcept;

/// V_ResizeBitmap for checked records: depths, orders and perspectives may differ. Stretch.cpp.
int stretch(BITMAPHANDLE& from, BITMAPHANDLE& to, uint32_t flags) noexcept;

} // namespace vk
