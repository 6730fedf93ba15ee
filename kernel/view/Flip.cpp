#include "kernel/view/Flip.h"

#include "kernel/view/Relayout.h"

namespace vk {

int flip_bitmap(BITMAPHANDLE& bitmap) noexcept
{
    Progress none(0);
    return change_layout(bitmap, kFlipped, none);
}

int mirror_bitmap(BITMAPHANDLE& bitmap) noexcept
{
    Progress progress(bitmap.Height);
    const int result = progress.begin();
    return result == V_SUCCESS ? change_layout(bitmap, kMirrored, progress) : result;
}

} // namespace vk
