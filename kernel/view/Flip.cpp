#include "kernel/view/Flip.h"

#include "kernel/rows/RowAccess.h"
#include "kernel/view/Relayout.h"
#include "kernel/view/ViewPerspective.h"

namespace vk {

namespace {

int change_and_report(BITMAPHANDLE& bitmap, Layout layout) noexcept
{
    int result = check_rows(bitmap);
    if (result != V_SUCCESS)
        return result;
    Progress progress(bitmap.Height);
    result = progress.begin();
    return result == V_SUCCESS ? change_layout(bitmap, {{layout, bitmap.ViewPerspective}}, progress) : result;
}

} // namespace

int flip_bitmap(BITMAPHANDLE& bitmap) noexcept
{
    return change_and_report(bitmap, kFlipped);
}

int mirror_bitmap(BITMAPHANDLE& bitmap) noexcept
{
    return change_and_report(bitmap, kMirrored);
}

int quarter_turn_bitmap(BITMAPHANDLE& bitmap, bool clockwise) noexcept
{
    const bool is_mirrored = is_mirrored_perspective(bitmap.ViewPerspective);
    return change_and_report(bitmap, clockwise != is_mirrored ? kTurnedClockwise : kTurnedBack);
}

} // namespace vk
