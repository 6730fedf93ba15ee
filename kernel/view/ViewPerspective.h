// View perspectives: how stored rows relate to what is shown, and the rearrangement of a bitmap's pixels for another
// one. A perspective is told by what turns the stored data into the top-left form: a flip, then a turn.
#pragma once

#include "Vkrecord.h"
#include "kernel/area/Layout.h"
#include "kernel/system/Progress.h"

namespace vk {

constexpr bool is_perspective(int32_t perspective) noexcept
{
    return perspective >= 1 && perspective <= 8;
}

/// True for those that show the stored height as the width.
constexpr bool is_rotated_perspective(int32_t perspective) noexcept
{
    return perspective >= 5 && perspective <= 8;
}

/// True for those that show stored rows mirrored: turning what is shown clockwise turns the stored rows back.
constexpr bool is_mirrored_perspective(int32_t perspective) noexcept
{
    return perspective == 2 || perspective == 4 || perspective == 5 || perspective == 7;
}

/// What turns data stored in one perspective into another: a flip first, then a clockwise turn.
struct PerspectiveChange {
    bool flip;
    int32_t angle; ///< 0, 90, 180 or 270 degrees
};

/// What turns stored data into what is shown; nothing for what is no perspective.
Layout shown_layout(int32_t perspective) noexcept;

/// Both perspectives are such.
PerspectiveChange perspective_change(int32_t from, int32_t to) noexcept;

/// The same as one layout of stored rows.
Layout layout_of(PerspectiveChange change) noexcept;

/// Gives a bitmap whose stored pixels stay another perspective, and its overlays what shows them over the same pixels.
int change_shown(BITMAPHANDLE& bitmap, int32_t to) noexcept;

/// The same as a layout of the stored data. Equal perspectives change nothing, whatever they are.
Layout perspective_layout(int32_t from, int32_t to) noexcept;

/// Rearranges a bitmap in place. SUCCESS; ERROR_INVALID_PARAMETER for what is no perspective; a failure of the flip or
/// the turn. A turn that fails after a flip leaves the bitmap flipped, in perspective 1; otherwise it is as it was.
int change_view_perspective(BITMAPHANDLE& bitmap, int32_t to) noexcept;

/// Makes `made`, with copies of the parts that `dup_flags` name, a rearranged copy, as a pass of an operation. On
/// failure it is empty but for StructSize.
int copy_in_view_perspective(BITMAPHANDLE& made, BITMAPHANDLE& source, uint32_t struct_size, int32_t to,
                             uint32_t dup_flags, const ProgressShare& share = {}) noexcept;

} // namespace vk
