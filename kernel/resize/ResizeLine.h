// Resizing rows as they come, in any order.
#pragma once

#include <cstdint>

namespace vk {

/// What V_StartResize makes and callers hold through an opaque pointer.
struct ResizeLineState {
    int32_t last_row = -1;
    int32_t is_reverse = 0; ///< 1 while rows come in descending order
    int32_t old_width = 0;
    int32_t old_height = 0;
    int32_t new_width = 0;
    int32_t new_height = 0;
    int32_t x_quotient = 0; ///< the horizontal step per destination pixel
    int32_t x_remainder = 0;
    int32_t y_quotient = 0; ///< destination rows per source row
    int32_t y_remainder = 0;
    int32_t y_accumulator = 0; ///< what rows up to the last one leave over
};

/// Fills in the one side that is 0 so that the proportions stay. False when the sizes make no sense.
bool complete_size(int32_t old_width, int32_t old_height, int32_t& new_width, int32_t& new_height) noexcept;

/// Hands out a ResizeLineState; ERROR_INVALID_PARAMETER for sizes that make no sense, ERROR_NO_MEMORY.
int start_resize(int32_t old_width, int32_t old_height, int32_t new_width, int32_t new_height, void** out) noexcept;

/// Depths that scan lines know.
bool is_scan_depth(int32_t bits) noexcept;

/// Resizes a row in place. How often it stands in the result, or ERROR_INVALID_PARAMETER.
int32_t resize_row(ResizeLineState& state, uint8_t* row, int32_t index, int32_t bits) noexcept;

} // namespace vk
