// Rows of what is shown of a bitmap, before anything is scaled by a filter: its pixels as a display shows them, and the
// visible overlays on them.
#pragma once

#include "Vkrecord.h"
#include "kernel/bitmap/Overlay.h"
#include "kernel/display/PartRows.h"
#include "kernel/display/ShownPixels.h"
#include "kernel/resize/Temporary.h"
#include "kernel/rows/Locks.h"

#include <cstdint>
#include <optional>

namespace vk::display {

/// A visible overlay of a bitmap.
class ShownOverlay {
public:
    /// SUCCESS or why the overlay cannot be read. One that has another perspective than its bitmap is turned first.
    int open(BITMAPHANDLE& overlay, const BITMAPHANDLE& bitmap, COLORREF color, int32_t left, int32_t right) noexcept;

    /// Draws row `y` on pixels of `bytes` bytes: its pixels of the columns that were picked.
    int draw(int32_t y, const Picker& columns, int32_t count, uint8_t* pixels, size_t bytes) noexcept;

private:
    Temporary turned_;
    std::optional<BitmapAccess> access_;
    std::optional<PartRows> rows_;
    int32_t width_ = 0;
    int32_t height_ = 0;
    uint8_t color_[4] = {}; ///< blue first, opaque
};

class Picture {
public:
    /// For an accessed bitmap that check_rows accepts.
    explicit Picture(BITMAPHANDLE& bitmap) noexcept : bitmap_(bitmap), rows_(bitmap) {}
    Picture(const Picture&) = delete;
    Picture& operator=(const Picture&) = delete;

    /// Rows will have the columns of some steps, in pixels of `bits` bits; about `rows` of them are wanted.
    int open(const Steps& columns, int32_t bits, int32_t rows) noexcept;

    /// Writes stored row `y`. SUCCESS or the failure of a transfer.
    int row(int32_t y, uint8_t* out) noexcept;

private:
    int open_overlays(int32_t left, int32_t right) noexcept;

    BITMAPHANDLE& bitmap_;
    PartRows rows_;
    Picker picker_;
    ShownPixels pixels_;
    std::optional<ShownOverlay> overlays_[kOverlaySlots];
    int32_t count_ = 0;
    size_t bytes_ = 0; ///< of a shown pixel
};

} // namespace vk::display
