// Rows in reverse order, pixels of each row in reverse order, or both, where the bitmap's pixels are: no second bitmap
// is made, no allocation asked for and no field of the record written. Rows in memory are exchanged in place, all
// others through a buffer of two bands, and the compressed stores see to it themselves. All three undo what they did.
#pragma once

#include "kernel/view/Relayout.h"

namespace vk {

/// What has to agree at the end, when the pixels are reversed. A refusal puts them back.
struct Agreement {
    int (*ask)(void* context) noexcept;
    void* context;
};

/// Reverses an accessed bitmap by a layout that does not transpose. Progress counts rows and has begun. SUCCESS;
/// ERROR_NO_MEMORY, a failed transfer, the callback's refusal or that of the agreement, after which the pixels are as
/// they were, as far as they can still be written.
int reverse_pixels(BITMAPHANDLE& bitmap, Layout layout, Progress& progress, const Agreement& agreement) noexcept;

} // namespace vk
