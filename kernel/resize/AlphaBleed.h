// The colours of invisible pixels, before a resize mixes them into visible ones: those with an alpha below half take
// colour from visible neighbours. Alpha itself stays.
#pragma once

#include "Vkrecord.h"
#include "kernel/system/Progress.h"

#include <cstdint>

namespace vk {

/// True for pixels with a fourth channel.
bool has_alpha(const BITMAPHANDLE& bitmap) noexcept;

/// Sets `*needed` when some pixel is fully transparent. The bitmap has alpha and is accessed, check_rows accepts it.
int needs_bleeding(BITMAPHANDLE& bitmap, bool* needed) noexcept;

/// Fills an allocated bitmap like `from` with its pixels, bled along rows, columns or both, as a pass of an operation.
/// Both are accessed.
int bleed_into(BITMAPHANDLE& from, BITMAPHANDLE& to, bool along_rows, bool along_columns,
               const ProgressShare& share) noexcept;

} // namespace vk
