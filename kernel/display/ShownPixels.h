// Stored pixels as a display shows them: 24 or 32 bits in BGR order, through the window and the paint tables.
#pragma once

#include "Vkrecord.h"
#include "kernel/combine/RowConverter.h"
#include "kernel/rows/RowAccess.h"
#include "kernel/window/ShownRows.h"

#include <cstddef>
#include <cstdint>

namespace vk::display {

class ShownPixels {
public:
    /// For runs of `width` pixels of a bitmap, `pixels` in all, that become `bits` bits each. SUCCESS,
    /// ERROR_INVALID_LUT_LENGTH, ERROR_NO_MEMORY, or ERROR_INVALID_PARAMETER for a depth and order that there is not.
    int open(const BITMAPHANDLE& bitmap, int32_t width, int32_t bits, uint64_t pixels) noexcept;

    /// Takes a run that begins with a byte.
    void run(const uint8_t* row, uint8_t* out) noexcept;

private:
    int open_gray(const BITMAPHANDLE& bitmap, SampleForm form) noexcept;
    int open_colors(const BITMAPHANDLE& bitmap, uint64_t pixels) noexcept;
    void run_wide(const uint8_t* row, uint8_t* out) noexcept;
    void convert(const uint8_t* from, int32_t from_bits, uint8_t* out) const noexcept;

    int32_t width_ = 0;
    int32_t bits_ = 0;
    bool is_gray_ = false;
    const uint8_t* table_ = nullptr;
    const uint16_t* wide_table_ = nullptr; ///< for channels of 16 bits, in front of the last conversion
    ShownRows gray_;
    combine::RowConverter colors_;
    RowBuffer between_; ///< gray as colours, or colours of 64 bits
};

} // namespace vk::display
