// The table of a bitmap's overlay slots, as it hangs on `Overlays`.
#pragma once

#include "Vkrecord.h"

namespace vk {

constexpr int kOverlaySlots = 16;

/// One locked global block per bitmap that has overlays. An empty slot is a record without storage.
struct OverlayTable {
    BITMAPHANDLE bitmaps[kOverlaySlots];
};

/// The bitmap's table, made now if it has none; null without memory.
OverlayTable* require_overlays(BITMAPHANDLE& bitmap) noexcept;

/// Frees each overlay bitmap and the table.
void free_overlays(BITMAPHANDLE& bitmap) noexcept;

} // namespace vk
