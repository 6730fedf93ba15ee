// Pictures in and out of a bitmap's slots. Records are checked, and slots are 0 to 15.
#pragma once

#include "Vkoverlay.h"
#include "kernel/bitmap/Overlay.h"

namespace vk {

/// The slot with a picture; null without one.
BITMAPHANDLE* overlay_in(const BITMAPHANDLE& bitmap, int32_t index) noexcept;

/// Takes the storage of a record of the current size, which is empty afterwards, in place of what the slot has.
int place_overlay(BITMAPHANDLE& bitmap, int32_t index, BITMAPHANDLE& picture) noexcept;

/// Lays a picture over a bitmap, at the slot's origin.
int set_overlay(BITMAPHANDLE& bitmap, int32_t index, BITMAPHANDLE& overlay, bool moves) noexcept;

// Between a slot's picture and its bit of the samples, which the bitmap has.
int load_overlay_bits(BITMAPHANDLE& bitmap, int32_t index, int32_t bit) noexcept;
int store_overlay_bits(BITMAPHANDLE& bitmap, int32_t index, int32_t bit) noexcept;

/// Makes a copy without overlays but with their pixels; on failure it is empty but for StructSize.
int flatten_overlays(BITMAPHANDLE& made, BITMAPHANDLE& source, uint32_t struct_size) noexcept;

} // namespace vk
