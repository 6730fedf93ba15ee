// Contrast, intensity and gamma: the tables that paint channels of 8 and of 16 bits, and how rows go through them.
#pragma once

#include "Vkrecord.h"

#include <cstddef>
#include <cstdint>

namespace vk::display {

struct Paint {
    int32_t contrast = 0;
    int32_t intensity = 0;
    int32_t gamma = 100;

    bool is_valid() const noexcept;
};

/// An entry of a table from 0 to `most`, by the formula of V_SetBitmapPaint; `value` is at most that.
uint32_t painted(const Paint& paint, uint32_t value, uint32_t most) noexcept;

/// V_SetBitmapPaint for an allocated bitmap and valid numbers.
int set_paint(BITMAPHANDLE& bitmap, const Paint& paint) noexcept;

/// The tables in use; null without one.
const uint8_t* paint_table(const BITMAPHANDLE& bitmap) noexcept;
const uint16_t* wide_paint_table(const BITMAPHANDLE& bitmap) noexcept;

/// Sends the first three of `channels` channels of each pixel through a table.
void paint_bytes(uint8_t* pixels, size_t count, size_t channels, const uint8_t* table) noexcept;
void paint_words(uint8_t* pixels, size_t count, size_t channels, const uint16_t* table) noexcept;

} // namespace vk::display
