// The table of a bitmap's overlay slots, as it hangs on `Overlays`.
#pragma once

#include "Vkoverlay.h"
#include "Vkrecord.h"

namespace vk {

constexpr int kOverlaySlots = OVERLAY_SLOTS;

/// What is said of a slot at first.
constexpr V_OVERLAYATTRIBUTES kOverlayAttributes = {
    sizeof(V_OVERLAYATTRIBUTES), OVERLAYFLAG_VISIBLE, 0x00FFFFFFu, 0, 0, OVERLAY_NOBIT, {}};

/// One locked global block per bitmap that has overlays. An empty slot is a record without storage.
struct OverlayTable {
    BITMAPHANDLE bitmaps[kOverlaySlots];
    V_OVERLAYATTRIBUTES attributes[kOverlaySlots];
};

/// The bitmap's table, made now if it has none; null without memory.
OverlayTable* require_overlays(BITMAPHANDLE& bitmap) noexcept;

/// An overlay has a pixel over each of the bitmap's, in the same order, as all have that the library made.
inline bool covers(const BITMAPHANDLE& overlay, const BITMAPHANDLE& bitmap) noexcept
{
    return overlay.Width == bitmap.Width && overlay.Height == bitmap.Height &&
           overlay.ViewPerspective == bitmap.ViewPerspective;
}

/// Makes a slot what it was at first.
void clear_overlay(BITMAPHANDLE& bitmap, int index) noexcept;

/// Frees each overlay bitmap and the table.
void free_overlays(BITMAPHANDLE& bitmap) noexcept;

} // namespace vk
