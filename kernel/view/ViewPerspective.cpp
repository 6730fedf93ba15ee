// View perspectives: relabelling, and moving the pixels. The copy moves each pixel once, straight to its new place; in
// place a flip comes first and then the turn, each of them whole or not at all.
#include "kernel/view/ViewPerspective.h"

#include "Vkbitmap.h"
#include "kernel/bitmap/Alloc.h"
#include "kernel/bitmap/Callbacks.h"
#include "kernel/system/Checks.h"
#include "kernel/bitmap/Duplicate.h"
#include "kernel/view/Flip.h"
#include "kernel/rows/Locks.h"
#include "kernel/bitmap/Overlay.h"
#include "kernel/bitmap/Record.h"
#include "kernel/rows/RowAccess.h"
#include "kernel/system/SilentStatus.h"
#include "kernel/view/Relayout.h"

#include <utility>

namespace vk {

namespace {

/// What turns stored data into the top-left form: flip, mirror, then a turn.
struct ToTopLeft {
    bool flip;
    bool mirror;
    int32_t angle;
};
constexpr ToTopLeft kToTopLeft[] = {{},
                                    {false, false, 0},
                                    {false, true, 0},
                                    {false, false, 180},
                                    {true, false, 0},
                                    {true, false, 90},
                                    {false, false, 90},
                                    {true, false, 270},
                                    {false, false, 270}};

/// Gives a bitmap whose pixels were rearranged its new perspective, and those overlays that shared the old one.
void set_perspective(BITMAPHANDLE& bitmap, int32_t before, int32_t perspective) noexcept
{
    bitmap.ViewPerspective = perspective;
    auto* const overlays = static_cast<OverlayTable*>(bitmap.Overlays);
    if (!overlays)
        return;
    for (BITMAPHANDLE& overlay : overlays->bitmaps)
        if (overlay.Flags & BITMAPFLAG_ALLOCATED && overlay.ViewPerspective == before)
            overlay.ViewPerspective = perspective;
}

int turn_stored(BITMAPHANDLE& bitmap, int32_t angle) noexcept
{
    Progress none(0);
    if (angle == 180)
        return half_turn_bitmap(bitmap, none);
    return angle == 0 ? V_SUCCESS : quarter_turn_bitmap(bitmap, angle == 90, none);
}

int change_in_place(BITMAPHANDLE& bitmap, PerspectiveChange change, int32_t to) noexcept
{
    const SilentStatus silent;
    const int32_t before = bitmap.ViewPerspective;
    int result = change.flip ? flip_bitmap(bitmap) : V_SUCCESS;
    if (result != V_SUCCESS)
        return result;
    bitmap.ViewPerspective = TOP_LEFT;
    result = turn_stored(bitmap, change.angle);
    if (result == V_SUCCESS)
        set_perspective(bitmap, before, to);
    else if (!change.flip)
        bitmap.ViewPerspective = before;
    return result;
}

bool has_copy_callbacks(const BITMAPHANDLE& bitmap) noexcept
{
    const BITMAPDATACALLBACKS* const calls = data_callbacks(bitmap);
    return calls && (calls->BeginCopyBitmapDataCallback || calls->EndCopyBitmapDataCallback);
}

int move_between(BITMAPHANDLE& made, BITMAPHANDLE& source, Layout layout) noexcept
{
    BitmapAccess from(source);
    if (from.result() != V_SUCCESS)
        return from.result();
    BitmapAccess to(made);
    if (to.result() != V_SUCCESS)
        return to.result();
    Progress progress(source.Height);
    int result = progress.begin();
    if (result == V_SUCCESS)
        result = move_pixels(source, made, layout, progress);
    const int to_released = to.release();
    const int from_released = from.release();
    if (result != V_SUCCESS)
        return result;
    return to_released == V_SUCCESS ? from_released : to_released;
}

/// Fills a bitmap of the final shape, and brings its parts into line.
int fill_changed(BITMAPHANDLE& made, BITMAPHANDLE& source, PerspectiveChange change) noexcept
{
    const Layout layout = layout_of(change);
    int result = move_between(made, source, layout);
    if (result != V_SUCCESS)
        return result;
    if (layout.transpose)
        swap_resolutions(made);
    const SilentStatus silent;
    result = change_overlays(made, layout);
    return result == V_SUCCESS && change.flip ? flip_region(made) : result;
}

/// Fills a bitmap of the source's shape as a copy, and changes it then: for callbacks that see to copying.
int fill_copied(BITMAPHANDLE& made, BITMAPHANDLE& source, PerspectiveChange change, int32_t to) noexcept
{
    const int result = copy_bitmap_data(made, source);
    const bool is_same = source.ViewPerspective == to;
    return result == V_SUCCESS && !is_same ? change_in_place(made, change, to) : result;
}

int make_changed(BITMAPHANDLE& made, BITMAPHANDLE& source, uint32_t struct_size, int32_t to,
                 uint32_t dup_flags) noexcept
{
    const bool is_same = source.ViewPerspective == to;
    if (!is_same && !(is_perspective(source.ViewPerspective) && is_perspective(to)))
        return V_ERROR_INVALID_PARAMETER;
    int result = check_rows(source);
    if (result != V_SUCCESS)
        return result;
    const PerspectiveChange change =
        is_same ? PerspectiveChange{false, 0} : perspective_change(source.ViewPerspective, to);
    const bool in_one = !is_same && !has_copy_callbacks(source);
    Shape shape = shape_of(source);
    if (in_one && layout_of(change).transpose)
        std::swap(shape.width, shape.height);
    result = make_like(made, source, struct_size, shape, dup_flags);
    if (result != V_SUCCESS)
        return result;
    result = in_one ? fill_changed(made, source, change) : fill_copied(made, source, change, to);
    if (result != V_SUCCESS) {
        free_bitmap(made);
        return result;
    }
    if (in_one)
        set_perspective(made, source.ViewPerspective, to);
    if (dup_flags & DUPFLAG_TAKEOVER)
        hand_over(made, source, dup_flags);
    return V_SUCCESS;
}

} // namespace

Layout layout_of(PerspectiveChange change) noexcept
{
    const bool is_quarter = change.angle == 90 || change.angle == 270;
    const bool turn_flips = change.angle == 90 || change.angle == 180;
    const bool turn_mirrors = change.angle == 180 || change.angle == 270;
    return {change.flip != turn_flips, turn_mirrors, is_quarter};
}

PerspectiveChange perspective_change(int32_t from, int32_t to) noexcept
{
    const ToTopLeft there = kToTopLeft[from];
    const ToTopLeft back = kToTopLeft[to];
    bool flip = there.flip;
    int32_t angle = there.angle - back.angle;
    if (is_mirrored_perspective(to)) { // undone from behind: turns go the other way
        angle = -angle;
        flip = !flip;
    }
    if (back.mirror) {
        // A mirror is a flip and a half turn.
        angle += 180;
    }
    if (there.mirror) {
        flip = !flip;
        angle += 180;
    }
    return {flip, (angle % 360 + 360) % 360};
}

int change_view_perspective(BITMAPHANDLE& bitmap, int32_t to) noexcept
{
    if (bitmap.ViewPerspective == to)
        return V_SUCCESS;
    if (!is_perspective(bitmap.ViewPerspective) || !is_perspective(to))
        return V_ERROR_INVALID_PARAMETER;
    if (!(bitmap.Flags & BITMAPFLAG_ALLOCATED))
        return V_ERROR_INVALID_IMAGE;
    return change_in_place(bitmap, perspective_change(bitmap.ViewPerspective, to), to);
}

int copy_in_view_perspective(BITMAPHANDLE& made, BITMAPHANDLE& source, uint32_t struct_size, int32_t to,
                             uint32_t dup_flags) noexcept
{
    const int result = make_changed(made, source, struct_size, to, dup_flags);
    if (result != V_SUCCESS)
        clear_record(made, struct_size);
    return result;
}

} // namespace vk
