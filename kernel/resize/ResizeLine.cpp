// Line-level resizing. How often a row is emitted depends on its number alone, so that rows may come in any order; the
// state remembers the last one for those who look at it.
#include "kernel/resize/ResizeLine.h"

#include "Vkrecord.h"
#include "kernel/resize/ScanLine.h"
#include "platform/platform.h"

#include <algorithm>
#include <new>

namespace vk {

namespace {

/// The side that keeps the proportions: `old` stretched as `other_old` is to `other_new`. 0 when there is none. The
/// order of the operations decides what truncation gives, and is part of the interface.
int32_t side_in_proportion(int32_t old, int32_t other_old, int32_t other_new) noexcept
{
    const double side = static_cast<double>(std::max(old, other_new)) / static_cast<double>(other_old) *
                        static_cast<double>(std::min(old, other_new));
    return side <= static_cast<double>(INT32_MAX) ? static_cast<int32_t>(side) : 0;
}

/// How often a row is emitted; notes it in the state.
int32_t take_row(ResizeLineState& state, int32_t row) noexcept
{
    const int64_t before = int64_t{row} * state.y_remainder % state.old_height;
    const int64_t after = before + state.y_remainder;
    const bool carries = after >= state.old_height;
    if (row == state.last_row + 1)
        state.is_reverse = 0;
    else if (row == state.last_row - 1)
        state.is_reverse = 1;
    state.y_accumulator = static_cast<int32_t>(carries ? after - state.old_height : after);
    state.last_row = row;
    return state.y_quotient + (carries ? 1 : 0);
}

void resize_in_place(uint8_t* row, int32_t bits, const ResizeLineState& state) noexcept
{
    const resize::ScanLine line = resize::whole_line(bits, state.old_width, state.new_width);
    if (state.new_width > state.old_width)
        resize::scan_backward(line, row, row);
    else if (state.new_width < state.old_width)
        resize::scan_forward(line, row, row);
}

} // namespace

bool is_scan_depth(int32_t bits) noexcept
{
    return bits >= 1 && bits <= 64;
}

bool complete_size(int32_t old_width, int32_t old_height, int32_t& new_width, int32_t& new_height) noexcept
{
    if (old_width <= 0 || old_height <= 0 || new_width < 0 || new_height < 0 || (new_width == 0 && new_height == 0))
        return false;
    if (new_width == 0)
        new_width = side_in_proportion(old_width, old_height, new_height);
    else if (new_height == 0)
        new_height = side_in_proportion(old_height, old_width, new_width);
    return new_width > 0 && new_height > 0;
}

int start_resize(int32_t old_width, int32_t old_height, int32_t new_width, int32_t new_height, void** out) noexcept
{
    if (!complete_size(old_width, old_height, new_width, new_height))
        return V_ERROR_INVALID_PARAMETER;
    void* const memory = platform::heap_alloc(sizeof(ResizeLineState));
    if (!memory)
        return V_ERROR_NO_MEMORY;
    *out = new (memory) ResizeLineState{.old_width = old_width,
                                        .old_height = old_height,
                                        .new_width = new_width,
                                        .new_height = new_height,
                                        .x_quotient = old_width / new_width,
                                        .x_remainder = old_width % new_width,
                                        .y_quotient = new_height / old_height,
                                        .y_remainder = new_height % old_height};
    return V_SUCCESS;
}

int32_t resize_row(ResizeLineState& state, uint8_t* row, int32_t index, int32_t bits) noexcept
{
    if (state.new_width == state.old_width && state.new_height == state.old_height)
        return 1;
    if (index < 0 || index >= state.old_height || !is_scan_depth(bits))
        return V_ERROR_INVALID_PARAMETER;
    const int32_t copies = take_row(state, index);
    if (copies > 0)
        resize_in_place(row, bits, state);
    return copies;
}

} // namespace vk
