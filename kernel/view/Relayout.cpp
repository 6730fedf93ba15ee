// Layout changes of bitmaps. What keeps rows rows is done where they are, and undone there; what makes columns of them
// is staged. Overlays are changed last.
#include "kernel/view/Relayout.h"

#include "kernel/bitmap/Region.h"
#include "kernel/bitmap/Staged.h"
#include "kernel/rows/Locks.h"
#include "kernel/rows/RowAccess.h"
#include "kernel/view/OverlayChange.h"
#include "kernel/view/Reverse.h"

#include <utility>

namespace vk {

namespace {

/// One step on a bitmap that is accessed.
class Change {
public:
    Change(BITMAPHANDLE& bitmap, BitmapAccess& access, LayoutStep step, uint32_t sharing) noexcept
        : bitmap_(bitmap), access_(access), step_(step), sharing_(sharing)
    {}

    int run(Progress& progress) noexcept
    {
        int result = overlays_.prepare(bitmap_, step_.layout, step_.perspective, sharing_);
        if (result == V_SUCCESS)
            result = step_.layout.transpose ? transpose(progress) : reverse(progress);
        if (result != V_SUCCESS)
            return result;
        overlays_.commit(bitmap_);
        bitmap_.ViewPerspective = step_.perspective;
        if (step_.layout.transpose)
            swap_resolutions(bitmap_);
        return V_SUCCESS;
    }

    /// What a release said that was due before the bitmap was replaced.
    int released() const noexcept { return released_; }

private:
    int reverse(Progress& progress) noexcept
    {
        const auto ask = [](void* self) noexcept { return static_cast<Change*>(self)->reverse_parts(); };
        return reverse_pixels(bitmap_, step_.layout, progress, {ask, this});
    }

    /// What hangs on the bitmap, when its pixels are reversed.
    int reverse_parts() noexcept
    {
        int result = overlays_.reverse();
        if (result != V_SUCCESS)
            return result;
        result = lay_out_region(bitmap_, bitmap_, step_.layout);
        if (result != V_SUCCESS)
            overlays_.undo();
        return result;
    }

    int transpose(Progress& progress) noexcept
    {
        Staged staged(bitmap_);
        Shape shape = shape_of(bitmap_);
        std::swap(shape.width, shape.height);
        shape.pixels = NewPixels::to_be_written;
        int result = staged.make(shape, 0);
        if (result != V_SUCCESS)
            return result;
        BitmapAccess made(staged.record());
        result = made.result();
        if (result == V_SUCCESS)
            result = move_pixels(bitmap_, staged.record(), step_.layout, progress);
        if (result == V_SUCCESS)
            result = overlays_.reverse();
        if (result == V_SUCCESS)
            result = lay_out_region(bitmap_, staged.record(), step_.layout);
        if (result != V_SUCCESS)
            return result;
        made.release();
        released_ = access_.release();
        return staged.replace();
    }

    BITMAPHANDLE& bitmap_;
    BitmapAccess& access_;
    const LayoutStep step_;
    const uint32_t sharing_; ///< overlays that share the bitmap's perspective
    OverlayChange overlays_;
    int released_ = V_SUCCESS;
};

} // namespace

int change_layout(BITMAPHANDLE& bitmap, std::initializer_list<LayoutStep> steps, Progress& progress) noexcept
{
    int result = check_rows(bitmap);
    if (result != V_SUCCESS)
        return result;
    BitmapAccess access(bitmap);
    if (access.result() != V_SUCCESS)
        return access.result();
    const uint32_t sharing = sharing_overlays(bitmap);
    int released = V_SUCCESS;
    for (const LayoutStep& step : steps) {
        Change change(bitmap, access, step, sharing);
        result = change.run(progress);
        if (result != V_SUCCESS)
            return result;
        released = first_failure(released, change.released());
    }
    const int last = access.release(); // which is done already where the bitmap was replaced
    return first_failure(released, last);
}

void swap_resolutions(BITMAPHANDLE& bitmap) noexcept
{
    const int32_t resolution = bitmap.XResolution;
    bitmap.XResolution = bitmap.YResolution;
    bitmap.YResolution = resolution;
}

} // namespace vk
