// Regions to and from those of the Windows display system.
#pragma once

#if defined(_WIN32)

#include "Vkregion.h"
#include "kernel/area/Area.h"

namespace vk {

/// Combines a bitmap's region with one of the system's. Also ERROR_INVALID_HANDLE for what is none.
int combine_handle(BITMAPHANDLE& bitmap, HRGN handle, uint32_t mode) noexcept;

/// Makes one of the system's; null without memory.
HRGN make_handle(const Area& area) noexcept;

} // namespace vk

#endif
