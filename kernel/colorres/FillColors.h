// The pixels of a change of colours: all rows of a bitmap from its form to a settled one, on the threads that the
// caller allows.
#pragma once

#include "Vkrecord.h"
#include "kernel/colorres/ColorRes.h"
#include "kernel/system/Progress.h"

#include <cstdint>

namespace vk {

/// Converts all rows of an accessed bitmap into an accessed one of the target's form. A step of progress for each row,
/// behind the steps done before.
int fill_colors(BITMAPHANDLE& source, BITMAPHANDLE& made, const ColorTarget& target, Progress& progress,
                int64_t steps_before) noexcept;

} // namespace vk
