// The part of an area that hangs together around a pixel.
#pragma once

#include "kernel/area/AreaBuilder.h"

namespace vk {

/// Builds what is connected with the pixel by steps to the four neighbours; nothing, when the pixel is not in the area.
/// False without memory.
bool build_connected(const Area& area, int32_t x, int32_t y, AreaBuilder& built) noexcept;

} // namespace vk
