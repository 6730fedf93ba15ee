// How gray samples become levels or colours: through a window, or by the look-up table of a bitmap.
#pragma once

#include "Vkwindow.h"
#include "kernel/rows/RowAccess.h"
#include "kernel/window/Samples.h"

namespace vk {

/// The colours of a table that is in use.
class ShownTable {
public:
    /// Whether the bitmap has one for its samples.
    static bool is_used(const BITMAPHANDLE& bitmap, const SampleForm& form) noexcept;

    /// SUCCESS, or ERROR_INVALID_LUT_LENGTH.
    int open(const BITMAPHANDLE& bitmap, const SampleForm& form) noexcept;

    bool is_open() const noexcept { return colors_ || wide_; }
    RGBQUAD color(const uint8_t* row, int32_t x) const noexcept;

private:
    const RGBQUAD* colors_ = nullptr;
    const V_RGBQUAD16* wide_ = nullptr;
    SampleForm form_;
};

class ShownRows {
public:
    /// For up to `width` pixels at a time, as 8-bit levels or 24-bit colours. A null window takes the table, or the
    /// whole range of the samples without one. SUCCESS, ERROR_NO_MEMORY or ERROR_INVALID_LUT_LENGTH.
    int open(const BITMAPHANDLE& bitmap, const SampleForm& form, const V_WINDOW* window, int32_t bits,
             int32_t width) noexcept;

    /// Writes pixels first to end - 1 of a row.
    void run(const uint8_t* row, int32_t first, int32_t end, uint8_t* out, bool streams) noexcept;

private:
    void look_up(const uint8_t* row, int32_t first, int32_t end, uint8_t* out) const noexcept;
    void run_colors(const uint8_t* row, int32_t first, int32_t count, uint8_t* out) noexcept;

    WindowRows rows_;
    ShownTable table_;
    RowBuffer levels_;
    int32_t bits_ = 0;
};

} // namespace vk
