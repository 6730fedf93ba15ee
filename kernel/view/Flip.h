// Flip and reverse of what a bitmap shows. Which of the two that is on its stored rows depends on the view perspective.
#pragma once

#include "Vkrecord.h"

namespace vk {

/// The stored rows in reverse order, overlays and region included; reports nothing.
int flip_bitmap(BITMAPHANDLE& bitmap) noexcept;

/// The stored pixels of each row in reverse order, overlays and region included; reports progress.
int mirror_bitmap(BITMAPHANDLE& bitmap) noexcept;

} // namespace vk
